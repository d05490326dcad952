#pragma once

#include <iostream>
#include <string_view>

#include "maths/optimisation/mlProgressLine.h"

/// The option --progress before a program's other arguments: searches are to show in a line of standard error how they
/// proceed.
class ProgressOption {
public:
    ProgressOption(int argc, char ** argv) : wanted_(argc > 1 && std::string_view(argv[1]) == "--progress") {}

    /// For the searches to tell; null without the option.
    mlObserver * observer() { return wanted_ ? &line_ : nullptr; }

    /// The index of the first other argument.
    [[nodiscard]] int first_argument() const { return wanted_ ? 2 : 1; }

private:
    bool wanted_;
    mlProgressLine line_{std::cerr};
};
