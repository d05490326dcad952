#pragma once

#include <cstdlib>
#include <fstream>
#include <iostream>
#include <string>

/// A file of figures that are to be drawn.
///
/// Failure: `finish` ends the program with exit status 2, after one line "file:0: cannot be written" on standard error,
/// when the file could not be opened or written.
class FigureFile : public std::ofstream {
public:
    explicit FigureFile(std::string const & path, int digits = 6) : std::ofstream(path), path_(path) {
        precision(digits);
    }

    /// To be called when all is written.
    void finish() {
        close();
        if (!fail()) return;
        std::cerr << path_ << ":0: cannot be written\n";
        std::exit(2);
    }

private:
    std::string path_;
};
