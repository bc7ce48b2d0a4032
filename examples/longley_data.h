/*
 * Longley's regression: employment in the United States from 1947 to 1962, explained by six economic
 * series. The series move almost together, so that a careless solution loses most digits.
 *
 * Data and certified values are those of the data set "Longley" of the NIST Statistical Reference
 * Datasets (J. W. Longley, Journal of the American Statistical Association 62, 819-841, 1967).
 */
#ifndef LONGLEY_DATA_H
#define LONGLEY_DATA_H

enum { observations = 16, terms = 7 };

/* One observation a row: employment (thousands), then the series. */
static const double data[observations][terms] = {
    /* employment, price deflator, national product, unemployed, armed forces, population, year */
    {60323, 83.0, 234289, 2356, 1590, 107608, 1947},  {61122, 88.5, 259426, 2325, 1456, 108632, 1948},
    {60171, 88.2, 258054, 3682, 1616, 109773, 1949},  {61187, 89.5, 284599, 3351, 1650, 110929, 1950},
    {63221, 96.2, 328975, 2099, 3099, 112075, 1951},  {63639, 98.1, 346999, 1932, 3594, 113270, 1952},
    {64989, 99.0, 365385, 1870, 3547, 115094, 1953},  {63761, 100.0, 363112, 3578, 3350, 116219, 1954},
    {66019, 101.2, 397469, 2904, 3048, 117388, 1955}, {67857, 104.6, 419180, 2822, 2857, 118734, 1956},
    {68169, 108.4, 442769, 2936, 2798, 120445, 1957}, {66513, 110.8, 444546, 4681, 2637, 121950, 1958},
    {68655, 112.6, 482704, 3813, 2552, 123366, 1959}, {69564, 114.2, 502601, 3931, 2514, 125368, 1960},
    {69331, 115.7, 518173, 4806, 2572, 127852, 1961}, {70551, 116.9, 554894, 4007, 2827, 130081, 1962},
};

struct quantity {
    const char* name;
    double certified;
};
static const struct quantity coefficients[terms] = {
    {"intercept", -3482258.63459582},
    {"price deflator", 15.0618722713733},
    {"national product", -0.0358191792925910},
    {"unemployed", -2.02022980381683},
    {"armed forces", -1.03322686717359},
    {"population", -0.0511041056535807},
    {"year", 1829.15146461355},
};
static const struct quantity residual_deviation = {"residual deviation", 304.854073561965};
static const struct quantity r_squared = {"R squared", 0.995479004577296};

#endif
