// Allocations of kernels that are linked into the program, which can be refused.
#pragma once

struct Refusing {
    int spared = -1; // how many are granted before all others are refused; below 0: all are granted
    int refused = 0;
    int live = 0; // granted, and not freed
};
extern Refusing refusing;
