#include "samples.hpp"

#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <memory>

#include "library.hpp"
#include "zel_features/zel_features.h"

namespace zel_python {
namespace {

using namespace py::literals;

std::string textOf(const char* text)
{
    return text ? text : "";
}

// Memory that the library frees.
char* copyOf(const std::string& text)
{
    auto* copy = static_cast<char*>(std::malloc(text.size() + 1));
    if (!copy) throw std::bad_alloc();
    std::memcpy(copy, text.c_str(), text.size() + 1);
    return copy;
}

// The fields of samples, one array each.
struct Columns {
    std::vector<std::int32_t> classNumber, elementaryClass, box;
    std::vector<std::uint32_t> priority;
    std::vector<float> lat, lon, sz, vz, az, day, year, features;

    void add(const ZELFeatureFileStruct& file)
    {
        const ZELPixelStruct& p = file.Pixel;
        classNumber.push_back(ZELFeatureFetchClass(&file));
        elementaryClass.push_back(p.ElementaryClass);
        box.push_back(p.BoxIndex);
        priority.push_back(p.Priority);
        for (const auto& [column, value] : {std::pair{&lat, p.lat},
                                            {&lon, p.lon},
                                            {&sz, p.sz},
                                            {&vz, p.vz},
                                            {&az, p.az},
                                            {&day, p.jday},
                                            {&year, p.year}})
            column->push_back(value);
        features.insert(features.end(), file.Features,
                        file.Features + ZELFeatureFetchNumberOfFeatures(&file));
    }
};

template <class T>
Array<T> arrayOf(const std::vector<T>& values)
{
    return Array<T>(static_cast<py::ssize_t>(values.size()), values.data());
}

// Closed and freed inside of a call of the library.
class FeatureFile {
public:
    FeatureFile() : file_(new ZELFeatureFileStruct()) {}
    ~FeatureFile()
    {
        callQuietly([&] {
            if (file_->fptr) ZELFeatureCloseFile(file_.get());
        });
        callQuietly([&] { ZELFeatureFreeParameters(&file_->Parameters); });
    }
    FeatureFile(const FeatureFile&) = delete;
    FeatureFile& operator=(const FeatureFile&) = delete;
    ZELFeatureFileStruct* get() { return file_.get(); }
    ZELFeatureFileStruct* operator->() { return file_.get(); }

private:
    std::unique_ptr<ZELFeatureFileStruct> file_;
};

py::list classesOf(const ZELClassStruct& classes)
{
    py::list found;
    for (int i = 0; i < ZEL_FEATURE_NUM_CLASSES; ++i) {
        const std::string name = textOf(classes.name[i]);
        if (classes.Count[i] != 0 || !name.empty())
            found.append(
                py::make_tuple(i, toText(name), classes.Red[i], classes.Green[i], classes.Blue[i]));
    }
    return found;
}

// Texts keep the blank that follows the colon of a parameter file.
py::str expressionOf(const CommandListStruct& entry)
{
    const ZELStackStruct* stack = entry.Condition;
    std::string text = textOf(stack ? stack->expression : nullptr);
    text.erase(0, text.find_first_not_of(" \t"));
    return toText(text);
}

py::list featuresOf(FeatureFile& file)
{
    py::list features;
    char** labels = ZELFeatureFetchLabels(file.get());
    const CommandListStruct* entry = file->Parameters.Features.ListHead;
    for (int i = 0; entry; ++i, entry = entry->next)
        features.append(
            py::make_tuple(toText(textOf(labels ? labels[i] : nullptr)), expressionOf(*entry)));
    return features;
}

py::list commandsOf(const CommandStruct& list)
{
    py::list found;
    for (const CommandListStruct* entry = list.ListHead; entry; entry = entry->next)
        found.append(py::make_tuple(toText(textOf(entry->Label)), expressionOf(*entry)));
    return found;
}

}  // namespace

py::dict readSamples(const std::string& name)
{
    FeatureFile file;
    Columns columns;
    callLibrary([&] {
        ZELFeatureOpenFile(name.c_str(), file.get());
        while (ZELFeatureReadSampleFromFile(file.get())) columns.add(*file.get());
        return 0;
    });
    const CommandListStruct* title = file->Parameters.Title.ListHead;
    const auto count = static_cast<py::ssize_t>(columns.classNumber.size());
    const py::ssize_t width = file->Parameters.Features.num;
    Array<float> values({count, width});
    std::copy(columns.features.begin(), columns.features.end(), values.mutable_data());
    return py::dict(
        "class"_a = arrayOf(columns.classNumber),
        "elementary_class"_a = arrayOf(columns.elementaryClass), "lat"_a = arrayOf(columns.lat),
        "lon"_a = arrayOf(columns.lon), "sz"_a = arrayOf(columns.sz), "vz"_a = arrayOf(columns.vz),
        "az"_a = arrayOf(columns.az), "box"_a = arrayOf(columns.box),
        "priority"_a = arrayOf(columns.priority), "julian_day"_a = arrayOf(columns.day),
        "year"_a = arrayOf(columns.year), "values"_a = values, "features"_a = featuresOf(file),
        "classes"_a = classesOf(file->Parameters.ClassInfo),
        "definitions"_a = commandsOf(file->Parameters.Conditions),
        "requirements"_a = commandsOf(file->Parameters.Requirements),
        "title"_a = toText(textOf(title ? title->Label : nullptr)));
}

namespace {

// Each may name the definitions so far.
void addCommands(CommandStruct& to, const Commands& commands, const std::string& kind,
                 const CommandStruct& definitions)
{
    for (const auto& [label, expression] : commands) {
        CommandListStruct* entry = allocateNewCommand(&to);
        if (!expression.empty()) {
            int status = ZEL_PARSE_OK;
            entry->Condition = parseCondition(expression.c_str(), &status, 1, definitions.ListHead);
            if (!entry->Condition) {
                std::string reason = kind;
                reason.append(" '").append(label).append("': ").append(ParseErrorMsgs[status]);
                throw LibraryError(reason);
            }
        }
        entry->Label = copyOf(label);
    }
}

void addRules(ZELParameterStruct& parameters, const SampleRules& rules)
{
    const CommandStruct& definitions = parameters.Conditions;
    addCommands(parameters.Conditions, rules.definitions, "definition", definitions);
    addCommands(parameters.Requirements, rules.requirements, "requirement", definitions);
    addCommands(parameters.Features, rules.features, "feature", definitions);
}

struct ClassFacts {
    int number;
    std::string name;
    int red, green, blue;
};

std::vector<ClassFacts> classFacts(const py::list& classes)
{
    std::vector<ClassFacts> all;
    for (const auto& item : classes) {
        const auto facts = item.cast<py::tuple>();
        all.push_back({facts[0].cast<int>(), facts[1].cast<std::string>(), facts[2].cast<int>(),
                       facts[3].cast<int>(), facts[4].cast<int>()});
        if (all.back().number < 0 || all.back().number >= ZEL_FEATURE_NUM_CLASSES)
            throw py::value_error("classes run from 0 to 999");
    }
    return all;
}

void addClasses(ZELClassStruct& to, const std::vector<ClassFacts>& classes)
{
    for (const ClassFacts& c : classes) {
        std::free(to.name[c.number]);
        to.name[c.number] = copyOf(c.name);
        to.Red[c.number] = c.red;
        to.Green[c.number] = c.green;
        to.Blue[c.number] = c.blue;
    }
}

struct Input {
    explicit Input(const py::dict& c)
        : classNumber(c["class"].cast<Array<std::int32_t>>()),
          elementaryClass(c["elementary_class"].cast<Array<std::int32_t>>()),
          box(c["box"].cast<Array<std::int32_t>>()),
          priority(c["priority"].cast<Array<std::uint32_t>>()),
          values(c["values"].cast<Array<float>>())
    {
        for (const char* name : {"lat", "lon", "sz", "vz", "az", "julian_day", "year"})
            floats.push_back(c[name].cast<Array<float>>());
    }
    void put(ZELFeatureFileStruct& file, py::ssize_t n) const
    {
        ZELPixelStruct& p = file.Pixel;
        p.Class = static_cast<float>(classNumber.data()[n]);
        p.ElementaryClass = elementaryClass.data()[n];
        p.BoxIndex = box.data()[n];
        p.Priority = priority.data()[n];
        float* fields[] = {&p.lat, &p.lon, &p.sz, &p.vz, &p.az, &p.jday, &p.year};
        for (std::size_t i = 0; i < floats.size(); ++i) *fields[i] = floats[i].data()[n];
        const py::ssize_t width = file.Parameters.Features.num;
        std::copy_n(values.data() + n * width, width, file.Features);
    }
    Array<std::int32_t> classNumber, elementaryClass, box;
    Array<std::uint32_t> priority;
    Array<float> values;
    std::vector<Array<float>> floats;
};

}  // namespace

void writeSamples(const std::string& name, const std::string& nameInHeader,
                  const SampleRules& rules, const py::list& classes, const py::dict& columns,
                  const std::string& title)
{
    const Input input(columns);
    const std::vector<ClassFacts> facts = classFacts(classes);
    FeatureFile prepared, file;
    const py::ssize_t count = input.classNumber.size();
    callLibrary([&] {
        ZELParameterStruct& parameters = prepared->Parameters;
        ZELFeatureInitializeParameters(&parameters);
        addRules(parameters, rules);
        addClasses(parameters.ClassInfo, facts);
        if (!title.empty()) allocateNewCommand(&parameters.Title)->Label = copyOf(title);
        ZELFeatureSetOverwritePromptOff();
        ZELFeatureCopyFileParameters(file.get(), prepared.get());
        ZELFeatureOpenCopiedFile(file.get(), name.c_str());
        // The header again, with the name that the file gets.
        std::free(file->Parameters.IO.outputFilename);
        file->Parameters.IO.outputFilename = copyOf(nameInHeader);
        std::rewind(file->fptr);
        if (ftruncate(fileno(file->fptr), 0) != 0) return -1;
        file->HeaderOffset = ZELFeatureWriteHeader(file->fptr, &file->Parameters);
        for (py::ssize_t n = 0; n < count; ++n) {
            input.put(*file.get(), n);
            ZELFeatureWriteSampleToFile(file.get());
        }
        ZELFeatureCloseFile(file.get());
        file->fptr = nullptr;
        return 0;
    });
}

}  // namespace zel_python
