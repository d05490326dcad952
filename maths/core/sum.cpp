#include "maths/core/sum.h"

int sum(int * values, int n) {
    unsigned total = 0; // unsigned arithmetic wraps
    for (int i = n - 1; i >= 0; --i)
        total += static_cast<unsigned>(values[i]);
    return static_cast<int>(total);
}
