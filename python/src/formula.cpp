#include "formula.hpp"

#include <algorithm>
#include <cstdio>
#include <sstream>

#include "base/failure.hpp"
#include "base/text.hpp"
#include "formula/reading.hpp"
#include "formula_rows.hpp"
#include "library.hpp"

namespace zel_python {
namespace {

using zel_tool::Vocabulary;

std::string trimmed(const std::string& text)
{
    const auto first = text.find_first_not_of(" \t\r\n");
    if (first == std::string::npos) return {};
    return text.substr(first, text.find_last_not_of(" \t\r\n") - first + 1);
}

std::unique_ptr<ZELType> recordOf(const Formula::Labels& labels)
{
    std::unique_ptr<ZELType> record(new ZELType());
    record->ZELHeader.MaxNumChan = ZEL_MAX_CHANNELS;
    for (const auto& [slot, label] : labels) {
        if (slot < 0 || slot >= ZEL_MAX_CHANNELS) continue;
        ZELChannelType& channel = record->Channels[slot];
        channel.ChannelPresentFlag = 1;
        std::snprintf(channel.ChannelLabel, sizeof channel.ChannelLabel, "%s", label.c_str());
    }
    return record;
}

// What an expression must not do: it has one value for each pixel, and changes nothing.
bool isPure(const ZELStackStruct& stack)
{
    for (const StackElementStruct* e = stack.stackHead; e; e = e->nextElement) {
        const bool isTarget = e->type == LVALUE || e->type == CHAN_LVALUE || e->type == REG_LVALUE;
        if (isTarget || (e->type == OPER && e->op.int_t == SKIP_PIXEL)) return false;
    }
    return true;
}

}  // namespace

Formula::Formula(const Labels& labels, std::string text, const Texts& definitions, bool isProgram)
    : text_(std::move(text)),
      record_(recordOf(labels)),
      vocabulary_(std::make_unique<Vocabulary>(*record_))
{
    const auto compile = [&] {
        for (const auto& [name, expression] : definitions) vocabulary_->define(name, expression);
        isProgram ? compileProgram() : compileExpression();
        if (isProgram && !program_) return -1;
        return 0;
    };
    try {
        callLibrary(compile, Reasons::all);
    } catch (const zel_tool::Failure& failure) {
        throw FormulaError(failure.what());
    } catch (const zel_tool::Misuse& misuse) {
        throw FormulaError(misuse.what());
    } catch (const LibraryError& error) {
        throw FormulaError(error.what());
    }
}

Formula::~Formula()
{
    callQuietly([&] {
        stack_.reset();
        program_.reset();
        vocabulary_.reset();
    });
}

void Formula::compileExpression()
{
    const std::string own = vocabulary_->translated(text_, zel_tool::Text::expression);
    const CommandListStruct* definitions = vocabulary_->definitions();
    int status = ZEL_PARSE_OK;
    stack_ = zel_tool::compile(own, status, true, definitions);
    const std::string shown = "'" + zel_tool::printable(text_) + "'";
    if (!stack_) throw FormulaError(ParseErrorMsgs[status] + (" in " + shown));
    if (!isPure(*stack_))
        throw FormulaError(shown + " assigns or skips: that has a place in programs only");
    const zel_tool::Stack plain =
        zel_tool::compile(zel_tool::withPlainMinus(own), status, true, definitions);
    if (plain && !zel_tool::isSame(*stack_, *plain))
        warnings_.push_back(shown + " is read as " + zel_tool::readingOf(*stack_, *vocabulary_) +
                            ", not " + zel_tool::readingOf(*plain, *vocabulary_) +
                            "; parentheses make it plain");
    uses_.add(stack_.get());
    requirePlaces(uses_);
}

void Formula::compileProgram()
{
    std::vector<std::string> texts;
    std::vector<int> numbers;
    std::istringstream stream(text_);
    int number = 0;
    for (std::string line; std::getline(stream, line);) {
        ++number;
        line = trimmed(line);
        if (line.empty() || line[0] == '#') continue;
        texts.push_back(vocabulary_->translated(line, zel_tool::Text::program));
        numbers.push_back(number);
    }
    if (texts.empty()) throw FormulaError("holds no program");
    std::vector<ProgramLines> lines(texts.size());
    for (std::size_t i = 0; i < texts.size(); ++i)
        lines[i] = {texts[i].data(), numbers[i], i + 1 < texts.size() ? &lines[i + 1] : nullptr};
    program_.reset(compileProgramText(lines.data(), 0, vocabulary_->definitions()));
    uses_.add(program_.get());
    requirePlaces(uses_);
}

bool Formula::isNew(int channel) const
{
    return channel >= vocabulary_->firstNewChannel();
}

py::dict Formula::facts() const
{
    using namespace py::literals;
    std::vector<int> channels, written;
    for (const int number : uses_.channels)
        if (!isNew(number)) channels.push_back(number);
    for (const int number : uses_.writtenChannels)
        if (!isNew(number)) written.push_back(number);
    std::vector<std::pair<int, std::string>> made;
    int number = vocabulary_->firstNewChannel();
    for (const std::string& label : vocabulary_->newChannels()) made.emplace_back(number++, label);
    return py::dict("channels"_a = channels, "written"_a = written, "made"_a = made,
                    "variables"_a = namesOf(uses_.variables),
                    "written_variables"_a = namesOf(uses_.writtenVariables),
                    "warnings"_a = warnings_);
}

py::dict Formula::run(const std::map<int, Array<float>>& channels,
                      const std::map<std::string, Array<float>>& variables, py::ssize_t count) const
{
    FormulaRows rows(uses_, program_ != nullptr, vocabulary_->firstNewChannel(), count);
    for (const auto& [number, values] : channels) rows.takeChannel(number, values);
    for (const auto& [name, values] : variables) rows.takeVariable(name, values);
    rows.addMade(static_cast<int>(vocabulary_->newChannels().size()));
    ZELDeferredType* deferred = nullptr;
    {
        const py::gil_scoped_release released;
        deferred = rows.run(stack_.get(), program_.get());
    }
    callLibrary([&] { return ZELDeliver(deferred), rows.hasFailed() ? -1 : 0; });
    return rows.results();
}

}  // namespace zel_python
