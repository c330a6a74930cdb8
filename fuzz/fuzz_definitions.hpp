// What the targets of the expression language share: named definitions, and values to calculate
// with.
#ifndef FUZZ_DEFINITIONS_HPP
#define FUZZ_DEFINITIONS_HPP

#include <deque>
#include <limits>
#include <string>

#include <zel/zel_features/zel_features.h>

#include "fuzz_support.hpp"

namespace zel_fuzz {

// Named definitions from a text with one "name:expression" in each line. Each may use those before
// it; those that do not compile are left out.
class Definitions {
public:
    explicit Definitions(const std::string& text)
    {
        constexpr std::size_t most = 8;  // a few are enough to grow an expression as far as it may
        for (std::size_t begin = 0; begin < text.size() && rows_.size() < most;) {
            const std::size_t end = std::min(text.find('\n', begin), text.size());
            add(text.substr(begin, end - begin));
            begin = end + 1;
        }
    }
    ~Definitions()
    {
        for (Row& row : rows_) ZELFreeStackElements(&row.stack);
    }
    Definitions(const Definitions&) = delete;
    Definitions& operator=(const Definitions&) = delete;

    const CommandListStruct* first() const
    {
        return rows_.empty() ? nullptr : &rows_.front().entry;
    }

private:
    struct Row {
        std::string label;
        ZELStackStruct stack;
        CommandListStruct entry;
    };

    void add(const std::string& line)
    {
        const std::size_t colon = line.find(':');
        if (colon == std::string::npos) return;
        const std::string expression = line.substr(colon + 1);
        Row row{line.substr(0, colon), {}, {}};
        int status = -1;
        guarded([&] { status = ZELParseExpression(expression.c_str(), &row.stack, 0, first()); });
        if (status != ZEL_PARSE_OK) return ZELFreeStackElements(&row.stack);
        rows_.push_back(row);
        Row& kept = rows_.back();
        kept.entry.Label = kept.label.data();
        kept.entry.Condition = &kept.stack;
        if (rows_.size() > 1) rows_[rows_.size() - 2].entry.next = &kept.entry;
    }

    std::deque<Row> rows_;
};

// Values that often go wrong in calculations, among ordinary ones.
inline float awkwardValue(std::size_t n)
{
    using Limits = std::numeric_limits<float>;
    static const float values[] = {0.5F,
                                   1.0F,
                                   Limits::quiet_NaN(),
                                   -3.0F,
                                   Limits::infinity(),
                                   12.0F,
                                   -0.0F,
                                   270.25F,
                                   -Limits::infinity(),
                                   0.0F,
                                   Limits::denorm_min(),
                                   2.0F,
                                   -Limits::denorm_min(),
                                   1e6F,
                                   Limits::max(),
                                   -1.0F,
                                   Limits::lowest(),
                                   100.0F,
                                   Limits::min(),
                                   501.5F,
                                   1e-6F,
                                   -88.7F,
                                   3e9F,
                                   -0.75F,
                                   16777217.0F,
                                   6.2831853F,
                                   -1e30F,
                                   89.0F,
                                   -2147483648.0F,
                                   45.0F};
    return values[n % std::size(values)];
}

}  // namespace zel_fuzz

#endif
