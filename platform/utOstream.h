#pragma once

#include <iomanip>
#include <ostream>
#include <string_view>
#include <type_traits>

#include "maths/maths_api.h"

/// Selects a stream that is nested in another one.
enum utOstreamTab { utOstreamTab };

/// The manipulators with an argument: std::setprecision, std::setw, std::setfill, std::setiosflags and the like.
template <class T, class... Kinds> inline constexpr bool utIsOneOf = (std::is_same_v<T, Kinds> || ...);
template <class T>
concept utManipulator =
    utIsOneOf<T, decltype(std::setprecision(0)), decltype(std::setw(0)), decltype(std::setfill(' ')),
              decltype(std::setbase(10)), decltype(std::setiosflags(std::ios_base::fixed)),
              decltype(std::resetiosflags(std::ios_base::fixed))>;

/// Writes to a standard stream, each line indented.
///
/// The indentation is written just before a line's first text, so an empty line stays empty; newlines inside a text
/// end lines. Nested streams share the current line: a stream that continues a line which another has begun adds no
/// indentation. Numbers are formatted by the standard stream, `get_ostream()`.
/// Lifetime: the standard stream and the parent must outlive the object. Failure: that of the standard stream.
class utOstream {
public:
    /// Writes to `stream`, each line indented by `tabs` tab stops of `tab_width` blanks.
    MATHS_API utOstream(std::ostream & stream, int tabs, int tab_width);

    /// Writes to the parent's stream, each line indented by `tabs` tab stops (of the parent's width) and `blanks`
    /// blanks more than the parent's.
    MATHS_API utOstream(enum utOstreamTab, utOstream & parent, int tabs, int blanks);

    utOstream(utOstream const &) = delete;
    utOstream & operator=(utOstream const &) = delete;

    MATHS_API ~utOstream();

    std::ostream & get_ostream() { return stream_; }

    MATHS_API utOstream & operator<<(std::string_view text);
    MATHS_API utOstream & operator<<(char const * text);
    MATHS_API utOstream & operator<<(char character);
    MATHS_API utOstream & operator<<(double number);
    MATHS_API utOstream & operator<<(int number);

    /// std::endl, std::flush and the like. Inline, because a program and a shared library may each have an address
    /// of their own for std::endl, and it must be recognised in the module that wrote it.
    utOstream & operator<<(std::ostream & (*manipulator)(std::ostream &)) {
        manipulator(stream_);
        if (manipulator == static_cast<std::ostream & (*)(std::ostream &)>(std::endl)) at_line_start() = true;
        return *this;
    }

    /// std::fixed, std::scientific and the like.
    utOstream & operator<<(std::ios_base & (*manipulator)(std::ios_base &)) {
        manipulator(stream_);
        return *this;
    }

    template <utManipulator Manipulator> utOstream & operator<<(Manipulator manipulator) {
        stream_ << manipulator;
        return *this;
    }

private:
    bool & at_line_start() { return root_->at_line_start_; }
    void indent();

    std::ostream & stream_;
    utOstream * root_; // the outermost stream, which keeps the line's state
    int tab_width_;
    int indentation_; // blanks before a line
    bool at_line_start_ = true;
};
