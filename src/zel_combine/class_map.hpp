// Translating the classes of a raster.
#ifndef ZEL_COMBINE_CLASS_MAP_HPP
#define ZEL_COMBINE_CLASS_MAP_HPP

#include <array>
#include <optional>
#include <vector>

namespace zel_combine {

class ClassMap {
public:
    // Classes are left as they are until a table is read.
    ClassMap();

    // Reads the table in the comments of a feature header, if they hold one: numClasses is then its
    // length, else nothing. False, after a message, when the file or the table cannot be read.
    bool read(const char* featureHeader, std::optional<int>& numClasses);

    // Whether a table was read.
    bool hasTable() const { return hasTable_; }

    // Replaces each value by its class, a whole number; values outside the classes pass unchanged.
    void translate(std::vector<float>& values) const;

private:
    bool readTable(const char* comment, int& numClasses);

    bool hasTable_ = false;
    std::array<int, 1000> ARFFToZELClass;  // indexed by the raster's class
};

}  // namespace zel_combine

#endif
