#pragma once

#include <ios>

/// Sets `fixed` and `showpoint` on a stream for as long as it lives and then restores the low 16 bits of the flags, in
/// which every standard flag lies. For use inside the library.
class mlStreamFlags {
public:
    explicit mlStreamFlags(std::ios_base & stream) : stream_(stream), flags_(stream.flags()) {
        stream_.setf(std::ios_base::fixed | std::ios_base::showpoint);
    }
    mlStreamFlags(mlStreamFlags const &) = delete;
    mlStreamFlags & operator=(mlStreamFlags const &) = delete;
    ~mlStreamFlags() { stream_.flags(flags_ & static_cast<std::ios_base::fmtflags>(0xffff)); }

private:
    std::ios_base & stream_;
    std::ios_base::fmtflags flags_;
};
