#include "platform/coDynArr.h"

template class MATHS_API_TEMPLATE_DEFINITION coDynArr<double>;
template class MATHS_API_TEMPLATE_DEFINITION coDynArr<int>;
