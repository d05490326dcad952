#pragma once

#include <iosfwd>

#include "maths/optimisation/mlObserver.h"

/// Shows how a search proceeds, in one line of a terminal that each iteration writes anew.
///
///     iteration 12   value 1.234567e-05   step 3.1e-04   calls 40
///
/// What is not known is left out. The line is ended when the object goes, or a search begins anew. Ends no search.
/// Lifetime: the stream must outlive the object. Cost: a line of text an iteration.
class MATHS_API mlProgressLine final : public mlObserver {
public:
    explicit mlProgressLine(std::ostream & stream);
    ~mlProgressLine() override;

    bool iterated(mlProgress const & progress) override;

private:
    void end_line();

    std::ostream * stream_;
    int width_ = 0; // of what the line shows
};
