// Counts the seeks of the library. In all tests, an fseeko of this program replaces that of the C
// library.
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
