#include "maths/functions/mlIntegrate.h"

mlIntegrate::~mlIntegrate() = default;
