// A line of a scene as expressions see it: a row for everything that they name.
#pragma once

#include <deque>
#include <memory>
#include <vector>

#include "formula/uses.hpp"
#include "zel.h"

namespace zel_tool {

class PixelRows {
public:
    // Channels from firstNew on are made, that many of them.
    PixelRows(ZELType& record, const Uses& uses, int firstNew, int newChannels);

    // The line that the record holds, as each pixel begins: new channels are NaN, registers and
    // class 0. Throws Failure where an ancillary grid is missing.
    void begin();

    ZELLineStruct& line() { return line_; }
    ZELPixelStruct& pixel() { return *pixel_; }
    float* made(int index) { return channels_[indexOf(firstNew_ + index)]; }

    // One pixel of the line.
    ZELLineStruct pixelAt(int x);

private:
    using Row = std::vector<float>;
    struct VariableRow {
        Variable variable;
        float* row;
    };
    static std::size_t indexOf(int number) { return static_cast<std::size_t>(number) - 1; }
    float* newRow();
    float** memberFor(ZELLineStruct& line, Variable variable) const;
    void addVariable(Variable variable);
    void fill(const VariableRow& row);
    void fillFromGrid(float* row, int number);
    void fillFrom(float* row, const float* values);
    template <class Value>
    void fillWith(float* row, Value value);

    ZELType& record_;
    int pixels_;
    int firstNew_;
    std::deque<Row> rows_;
    std::vector<float*> channels_;
    std::vector<int> copied_;  // slots of channels that expressions write to
    std::vector<float*> registers_;
    std::vector<VariableRow> variables_;
    bool needsPosition_, needsAngles_;
    float *lat_ = nullptr, *lon_ = nullptr, *sz_ = nullptr, *vz_ = nullptr, *az_ = nullptr;
    ZELLineStruct line_{};
    std::unique_ptr<ZELPixelStruct> pixel_;
    std::vector<float*> channelsAt_;
    std::vector<float*> registersAt_;
};

}  // namespace zel_tool
