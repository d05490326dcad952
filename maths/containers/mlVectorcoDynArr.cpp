#include "maths/containers/mlVectorcoDynArr.h"

template class MATHS_API_TEMPLATE_DEFINITION coDynArr<mlVector>;

utOstream & operator<<(utOstream & stream, mlVectorcoDynArr const & array) {
    return ml_print_array(stream, "coDynArr", array);
}

std::ostream & operator<<(std::ostream & stream, mlVectorcoDynArr const & array) {
    return ml_print_array(stream, "coDynArr", array);
}
