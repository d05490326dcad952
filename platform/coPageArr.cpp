#include "platform/coPageArr.h"

template class MATHS_API_TEMPLATE_DEFINITION coDynArr<void *>;
template class MATHS_API_TEMPLATE_DEFINITION coPageArr<double>;
template class MATHS_API_TEMPLATE_DEFINITION coPageArr<int>;
