#include "maths/optimisation/mlProgressLine.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <ostream>
#include <string>

mlProgressLine::mlProgressLine(std::ostream & stream) : stream_(&stream) {}

mlProgressLine::~mlProgressLine() {
    try {
        end_line();
    } catch (...) { // a stream may throw, and a destructor must not
    }
}

bool mlProgressLine::iterated(mlProgress const & progress) {
    if (progress.iteration == 1) end_line();
    char value[40] = "", step[40] = "", calls[40] = "", line[160];
    if (!std::isnan(progress.value)) std::snprintf(value, sizeof value, "   value %.6e", progress.value);
    if (!std::isnan(progress.step)) std::snprintf(step, sizeof step, "   step %.1e", progress.step);
    if (progress.calls >= 0) std::snprintf(calls, sizeof calls, "   calls %d", progress.calls);
    int const size = std::snprintf(line, sizeof line, "iteration %d%s%s%s", progress.iteration, value, step, calls);
    *stream_ << '\r' << line << std::string(std::max(width_ - size, 0), ' ') << std::flush; // over a longer one before
    width_ = std::max(width_, size);
    return true;
}

void mlProgressLine::end_line() {
    if (width_ == 0) return;
    *stream_ << '\n' << std::flush;
    width_ = 0;
}
