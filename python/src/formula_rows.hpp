// The rows of a run: an array for everything that a formula names.
#pragma once

#include <memory>
#include <set>
#include <string>
#include <vector>

#include "formula/uses.hpp"
#include "python.hpp"
#include "zel.h"

namespace zel_python {

// The names that Python has for variables.
std::vector<std::string> namesOf(const std::set<zel_tool::Variable>& variables);

// Throws FormulaError for channels and registers that cannot be.
void requirePlaces(const zel_tool::Uses& uses);

class FormulaRows {
public:
    // Channels from firstNew on are made.
    FormulaRows(const zel_tool::Uses& uses, bool isProgram, int firstNew, py::ssize_t count);

    // What is written to is copied.
    void takeChannel(int number, const Array<float>& values);
    void takeVariable(const std::string& name, const Array<float>& values);
    void addMade(int count);

    // Runs one of the two. Nothing of Python is touched.
    ZELDeferredType* run(const ZELStackStruct* stack, const ProgramStruct* program);
    bool hasFailed() const { return hasFailed_; }

    // "values" of an expression; of a program "skipped", and what it wrote, by number and by name.
    py::dict results();

private:
    using Floats = Array<float>;
    struct Row {
        float* values = nullptr;
        Floats array;
    };
    void keep(Row& row, const Floats& values, bool isWritten);
    void runPart(py::ssize_t begin, int size);
    void runProgram(const ZELLineStruct& line, bool* skipped);
    void fillLine(ZELLineStruct& line, py::ssize_t begin, int size);
    void blankSkipped();

    const zel_tool::Uses& uses_;
    int firstNew_;
    py::ssize_t count_;
    std::vector<Row> channels_;   // by number - 1
    std::vector<Row> variables_;  // by zel_tool::Variable
    std::vector<Row> registers_;  // by number - 1
    Floats values_;
    Array<bool> skipped_;
    float* valuesAt_;
    bool* skippedAt_;
    const ZELStackStruct* stack_ = nullptr;
    const ProgramStruct* program_ = nullptr;
    bool hasFailed_ = false;
    std::unique_ptr<ZELPixelStruct> pixel_;
    std::vector<float*> channelsAt_, registersAt_;
    std::vector<int> flags_;
};

}  // namespace zel_python
