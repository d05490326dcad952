#include "maths/core/mlTinyVector.h"

template class MATHS_API_TEMPLATE_DEFINITION mlTinyVector<2>;
template class MATHS_API_TEMPLATE_DEFINITION mlTinyVector<3>;
template class MATHS_API_TEMPLATE_DEFINITION mlTinyVector<4>;
template class MATHS_API_TEMPLATE_DEFINITION mlTinyVector<5>;
template class MATHS_API_TEMPLATE_DEFINITION mlTinyVector<6>;
