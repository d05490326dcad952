#include "platform/utOstream.h"

utOstream::utOstream(std::ostream & stream, int tabs, int tab_width)
    : stream_(stream), root_(this), tab_width_(tab_width), indentation_(tabs * tab_width) {}

utOstream::utOstream(enum utOstreamTab, utOstream & parent, int tabs, int blanks)
    : stream_(parent.stream_), root_(parent.root_), tab_width_(parent.tab_width_),
      indentation_(parent.indentation_ + tabs * parent.tab_width_ + blanks) {}

utOstream::~utOstream() = default;

utOstream & utOstream::operator<<(std::string_view text) {
    while (!text.empty()) {
        std::string_view const line = text.substr(0, text.find('\n'));
        text.remove_prefix(line.size());
        if (!line.empty()) {
            indent();
            stream_ << line;
        }
        if (!text.empty()) { // the newline
            stream_.put('\n');
            at_line_start() = true;
            text.remove_prefix(1);
        }
    }
    return *this;
}

utOstream & utOstream::operator<<(char const * text) { return *this << std::string_view(text); }

utOstream & utOstream::operator<<(char character) { return *this << std::string_view(&character, 1); }

utOstream & utOstream::operator<<(double number) {
    indent();
    stream_ << number;
    return *this;
}

utOstream & utOstream::operator<<(int number) {
    indent();
    stream_ << number;
    return *this;
}

// Unformatted, so that a width which the caller has set applies to the text itself.
void utOstream::indent() {
    if (!at_line_start()) return;
    for (int i = 0; i < indentation_; ++i)
        stream_.put(' ');
    at_line_start() = false;
}
