/*
 * Prices of some options of options.h to 20 digits, by MPFR: this program wrote options.txt.
 *
 *     options_prices > options.txt
 *
 * Each price is computed with 128, 192 and 256 bits. Digits are printed only where all three agree.
 */
#include "options.h"

#include <mpfr.h>
#include <stdio.h>
#include <string.h>

/* N(x) = erfc(-x / sqrt(2)) / 2 */
static void probability(mpfr_t result, mpfr_t x)
{
    mpfr_t root;
    mpfr_init2(root, mpfr_get_prec(result));
    mpfr_sqrt_ui(root, 2, MPFR_RNDN);
    mpfr_div(result, x, root, MPFR_RNDN);
    mpfr_neg(result, result, MPFR_RNDN);
    mpfr_erfc(result, result, MPFR_RNDN);
    mpfr_div_ui(result, result, 2, MPFR_RNDN);
    mpfr_clear(root);
}

/* By Black and Scholes; the put is the call with both distances turned round, and both signs. */
static void price(char text[40], int i, int put, mpfr_prec_t bits)
{
    mpfr_t spread, far, near, spot, strike;
    mpfr_inits2(bits, spread, far, near, spot, strike, (mpfr_ptr)0);

    mpfr_set_d(spread, years_of(i), MPFR_RNDN);
    mpfr_sqrt(spread, spread, MPFR_RNDN);
    mpfr_mul_d(spread, spread, volatility_of(i), MPFR_RNDN);

    mpfr_set_d(far, spot_of(i), MPFR_RNDN);
    mpfr_div_d(far, far, strike_of(i), MPFR_RNDN);
    mpfr_log(far, far, MPFR_RNDN);
    mpfr_set_d(near, rate, MPFR_RNDN);
    mpfr_mul_d(near, near, years_of(i), MPFR_RNDN);
    mpfr_neg(strike, near, MPFR_RNDN);
    mpfr_add(far, far, near, MPFR_RNDN);
    mpfr_div(far, far, spread, MPFR_RNDN);
    mpfr_div_ui(near, spread, 2, MPFR_RNDN);
    mpfr_add(far, far, near, MPFR_RNDN);
    mpfr_sub(near, far, spread, MPFR_RNDN);
    if (put) {
        mpfr_neg(far, far, MPFR_RNDN);
        mpfr_neg(near, near, MPFR_RNDN);
    }

    mpfr_exp(strike, strike, MPFR_RNDN);
    mpfr_mul_d(strike, strike, strike_of(i), MPFR_RNDN);
    probability(spot, far);
    mpfr_mul_d(spot, spot, spot_of(i), MPFR_RNDN);
    probability(far, near);
    mpfr_mul(strike, strike, far, MPFR_RNDN);
    mpfr_sub(spot, spot, strike, MPFR_RNDN);
    if (put)
        mpfr_neg(spot, spot, MPFR_RNDN);
    mpfr_snprintf(text, 40, "%.19Re", spot);
    mpfr_clears(spread, far, near, spot, strike, (mpfr_ptr)0);
}

int main(void)
{
    printf(
        "# option                      call                       put    (20 digits, by options_prices.c)\n");
    for (int k = 0; k < certified; ++k) {
        char prices[2][3][40];
        for (int put = 0; put < 2; ++put)
            for (int more = 0; more < 3; ++more)
                price(prices[put][more], certified_at(k), put, 128 + 64 * more);
        for (int put = 0; put < 2; ++put)
            if (strcmp(prices[put][0], prices[put][1]) != 0 || strcmp(prices[put][1], prices[put][2]) != 0) {
                fprintf(stderr, "options_prices: option %d: digits differ with the precision\n",
                        certified_at(k));
                return 1;
            }
        printf("%8d %25s %25s\n", certified_at(k), prices[0][0], prices[1][0]);
    }
    mpfr_free_cache();
    return 0;
}
