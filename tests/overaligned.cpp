#include "platform/coPageArr.h"

// To be rejected by the compiler, for either kind of ARRAY.

struct alignas(64) Wide {
    double x;
};

void use() {
    ARRAY<Wide> array;
    static_cast<void>(array);
}
