#include "platform/coDynArr2D.h"

template class MATHS_API_TEMPLATE_DEFINITION coDynArr2D<double>;
