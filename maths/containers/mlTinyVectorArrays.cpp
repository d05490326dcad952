#include "maths/containers/mlTinyVectorcoDynArr.h"
#include "maths/containers/mlTinyVectorcoPageArr.h"

template class MATHS_API_TEMPLATE_DEFINITION coDynArr<mlTinyVector2>;
template class MATHS_API_TEMPLATE_DEFINITION coDynArr<mlTinyVector3>;
template class MATHS_API_TEMPLATE_DEFINITION coDynArr<mlTinyVector4>;
template class MATHS_API_TEMPLATE_DEFINITION coDynArr<mlTinyVector5>;
template class MATHS_API_TEMPLATE_DEFINITION coDynArr<mlTinyVector6>;

template class MATHS_API_TEMPLATE_DEFINITION coPageArr<mlTinyVector2>;
template class MATHS_API_TEMPLATE_DEFINITION coPageArr<mlTinyVector3>;
template class MATHS_API_TEMPLATE_DEFINITION coPageArr<mlTinyVector4>;
template class MATHS_API_TEMPLATE_DEFINITION coPageArr<mlTinyVector5>;
template class MATHS_API_TEMPLATE_DEFINITION coPageArr<mlTinyVector6>;
