#pragma once

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <fstream>
#include <iostream>
#include <locale>
#include <sstream>
#include <string>
#include <string_view>

#include "maths/core/mlMatrix.h"
#include "maths/core/mlVector.h"

/// A table of numbers read from a text file of plain columns.
///
/// The file starts with a line `# ...` that names its source; more lines of that kind may follow. Every other line is a
/// row of `columns` finite numbers between blanks; empty lines are skipped.
/// Failure: errors end the program: a file that can't be read, doesn't name its source, or has no
/// row or a malformed one ends the program with exit status 2, after one line "file:line: reason" on standard error.
class ColumnTable {
public:
    ColumnTable(std::string const & path, int columns) : path_(path) {
        std::ifstream file(path);
        if (!file) fail("cannot be opened");
        mlVector row(mlVectorZero, columns);
        for (std::string text; std::getline(file, text);) {
            ++line_;
            if (text.starts_with('#') && rows() == 0)
                note(text);
            else if (text.find_first_not_of(blanks) != text.npos)
                append(text, row);
        }
        if (file.bad()) fail("cannot be read");
        if (rows() == 0) fail("the file ends before the first row");
    }

    int rows() const { return values_.rows(); }

    /// The values of column c from top to bottom; valid as long as the table.
    mlSlice const column(int c) const { return values_.col(c); }

    /// The first line, without its mark.
    std::string const & source() const { return source_; }

private:
    static constexpr char blanks[] = " \t\r";

    void note(std::string_view text) {
        std::size_t const start = text.find_first_not_of("# \t\r");
        if (source_.empty() && start != text.npos)
            source_ = text.substr(start, text.find_last_not_of(blanks) + 1 - start);
    }

    void append(std::string_view text, mlVector & row) {
        if (source_.empty()) fail("the file must start with a line # that names its source");
        int found = 0;
        for (std::size_t at = text.find_first_not_of(blanks); at != text.npos;) {
            std::size_t const end = std::min(text.find_first_of(blanks, at), text.size());
            double const value = number(text.substr(at, end - at));
            if (found < row.size()) row[found] = value;
            ++found;
            at = text.find_first_not_of(blanks, end);
        }
        if (found != row.size())
            fail(std::to_string(row.size()) + " numbers expected, " + std::to_string(found) + " found");
        values_.append_row(row);
    }

    double number(std::string_view word) const {
        std::istringstream stream{std::string(word)};
        stream.imbue(std::locale::classic());
        double value = 0.0;
        if (!(stream >> value) || !stream.eof() || !std::isfinite(value))
            fail(std::string("'").append(word).append("' is not a finite number"));
        return value;
    }

    [[noreturn]] void fail(std::string const & reason) const {
        std::cerr << path_ << ':' << line_ << ": " << reason << '\n';
        std::exit(2);
    }

    std::string path_, source_;
    int line_ = 0;
    mlMatrix values_;
};
