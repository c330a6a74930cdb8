// What is wrong with a file, and where.
#pragma once

#include <fstream>
#include <map>
#include <string>
#include <vector>

#include "base/json.hpp"
#include "scene/library.hpp"

namespace zel_tool {

struct Finding {
    long long offset;  // in the file; -1 where there is no one place
    int part;          // of a container
    std::string where;
    std::string what;
    bool isNote;         // worth knowing, but no promise of the format is broken
    long long more = 0;  // how many lines after the first have the same
};

class Findings {
public:
    // One for which there is another of the same words in the same part, elsewhere, is only
    // counted.
    void problem(long long offset, int part, const std::string& where, const std::string& what);
    void note(long long offset, int part, const std::string& where, const std::string& what);

    const std::vector<Finding>& list() const { return list_; }
    bool hasProblems() const;

private:
    void add(Finding finding);
    std::vector<Finding> list_;
};

std::string findingText(const Finding& finding, bool container);
Json findingJson(const Finding& finding);

// Holds fields against each other as they come in the order of a file.
class FieldCheck {
public:
    FieldCheck(const std::string& file, Findings& findings)
        : file_(file, std::ios::binary), findings_(findings)
    {
    }
    void take(const ZELDumpField& field);

private:
    struct Field {
        long long offset;
        int part;
        std::string record, name, value;
    };
    void problem(const Field& field, const std::string& what);
    void checkText(const Field& field, long long size);
    void takePrefix(const Field& field);
    void checkAgainstPrefix(const Field& field);

    std::ifstream file_;
    Findings& findings_;
    std::map<std::string, Field> prefix_;  // of the part whose header comes next
    bool isContainer_ = false;
};

// Offsets of the fields of a file's header, by part, record and name.
class Places {
public:
    // Reads the whole structure of the file, lines included. Damage and bytes that belong to no
    // record are findings. False when the structure cannot be followed to its end.
    bool read(const std::string& file, Findings& findings);

    // -1 for a field that the file's version does not have.
    long long of(int part, const std::string& record, const std::string& name) const;

private:
    friend int takePlace(void* reading, const ZELDumpField* field);
    std::vector<std::pair<std::string, long long>> header_;
};

// The promises of headers, channels and blocks, and those of the lines, of one part.
void checkHeader(ZELType& record, int part, const Places& places, Findings& findings);
void checkLines(ZELType& record, int part, const Places& places, Findings& findings,
                const std::string& file);

}  // namespace zel_tool
