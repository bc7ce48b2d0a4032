/* The market of options.c, and of the program that certified some of its prices, options_prices.c: European
 * options on shares that pay no dividend. Every number is a short binary fraction, and so exact. */
enum { options = 10000, certified = 24 };

static const double rate = 1.0 / 32; /* of interest, a year */

static double spot_of(int i)
{
    return 80 + (37 * i % 641) / 16.0;
}
static double strike_of(int i)
{
    return 90 + (101 * i % 321) / 16.0;
}
static double years_of(int i)
{
    return 0.25 + (53 * i % 45) / 16.0;
}
static double volatility_of(int i)
{
    return (10 + 29 * i % 23) / 64.0;
}

/* The place of the k-th option whose prices are certified. */
static int certified_at(int k)
{
    return k * 419;
}
