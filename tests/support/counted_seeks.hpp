// How often the library seeks. This program's own fseeko stands in for the C library's in all
// tests.
#pragma once

namespace zel_test {

class CountedSeeks {
public:
    CountedSeeks() : before_(total()) {}
    int count() const { return total() - before_; }  // since it was made

private:
    static int total();
    int before_;
};

}  // namespace zel_test
