#include "maths/optimisation/mlObserver.h"

mlObserver::~mlObserver() = default;
