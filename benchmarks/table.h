#pragma once

#include <cstdio>

#include "benchmarks/race.h"

/// Prints the heading of the table.
void print_heading();

/// Prints a result's line with its goal. Results with a set narrower than the widest are left out unless it has one.
void print(Result const & result);

/// Prints how many goals were met.
void print_summary(std::vector<Result> const & results);

/// Writes the machine's and the peers' description as lines that begin with '#', then a line a result, comma-separated.
void write(std::FILE * file, std::vector<Result> const & results);
