#include "zel_features/program/flow.hpp"

#include "zel_features/evaluate/planner.hpp"
#include "zel_features/language/truncate.hpp"
#include "zel_features/program/masks.hpp"
#include "zel_features/program/zel_program.hpp"

namespace {

using zel::CellSet;
using zel::Followed;
using zel::PathSet;
using zel::Source;
using zel::Statement;

// How a statement is reached.
struct Entry {
    PathSet paths;                    // empty: it is not reached
    CellSet written = zel::allCells;  // by all pixels that reach it
};

class FlowPlanner {
public:
    FlowPlanner(zel::Plan& plan, const zel::Flow& flow, const ZELLineStruct& line,
                ZELPixelStruct& record)
        : plan_(plan),
          flow_(flow),
          planner_(plan, record, line),
          masks_(planner_),
          entries_(flow.size() + 1)
    {
    }

    bool planAll(bool mayPassOver)
    {
        if (mayPassOver) plan_.active = planner_.newBuffer();
        masks_.begin(plan_.active);
        lead(0, zel::allPaths(), 0);
        for (std::size_t i = 0; i < flow_.size(); ++i)
            if (!entries_[i].paths.empty() && !planOne(flow_[i], entries_[i])) return false;
        return true;
    }

private:
    bool planOne(const Statement& statement, const Entry& entry)
    {
        if (statement.kind == Statement::finish) return true;
        if (statement.kind == Statement::pass) {
            lead(statement.onTrue, entry.paths, entry.written);
            return true;
        }
        if (!masks_.maskOf(entry.paths, mask_)) return false;
        planner_.enter(mask_, entry.written);
        if (statement.kind == Statement::weigh) return planWeights(statement, entry.paths);
        plan_.evaluates = true;
        switch (planner_.plan(statement.expression->stackHead)) {
        case Followed::toTheEnd:
            return branch(statement, entry.paths);
        case Followed::skipped:
            return statement.kind == Statement::evaluate && skip();
        default:
            return false;
        }
    }

    bool planWeights(const Statement& statement, const PathSet& paths)
    {
        Source weight;
        if (statement.expression) {
            plan_.evaluates = true;
            if (planner_.plan(statement.expression->stackHead) != Followed::toTheEnd) return false;
            weight = planner_.value();
        }
        const StackElementStruct* element = statement.classes->stackHead;
        for (; element; element = element->nextElement) {
            const int index = zel::listedClass(*element);
            if (index < 0 || index >= ZEL_FEATURE_NUM_CLASSES) continue;
            if (!planner_.set({zel::Name::weight, index}, weight)) return false;
        }
        lead(statement.onTrue, paths, planner_.written());
        return true;
    }

    bool skip()
    {
        Source zero;
        if (!planner_.set({zel::Name::variable, 0}, zero)) return false;
        const Source mask = mask_ ? Source{mask_, 0.0f} : Source{0, 1.0f};
        const Source before = {plan_.skipped, 0.0f};
        if (!before.row && mask.row) {
            plan_.skipped = mask.row;
            return true;
        }
        plan_.skipped = planner_.newBuffer();
        return before.row ? planner_.add(zel::kernelOf(ADD), plan_.skipped, {before, mask})
                          : planner_.add(zel::copyRow, plan_.skipped, {mask});
    }

    bool branch(const Statement& statement, const PathSet& paths)
    {
        const CellSet written = planner_.written();
        const Source value = planner_.value();
        if (statement.onTrue == statement.onFalse) {
            lead(statement.onTrue, paths, written);
            return true;
        }
        if (!value.row) {
            const bool isZero = zel::truncatesToZero(static_cast<double>(value.value));
            lead(isZero ? statement.onFalse : statement.onTrue, paths, written);
            return true;
        }
        zel::Branch branch;
        if (!masks_.addBranch(paths, mask_, value, branch)) return false;
        lead(statement.onTrue, branch.onTrue, written);
        lead(statement.onFalse, branch.onFalse, written);
        return true;
    }

    void lead(int to, const PathSet& paths, CellSet written)
    {
        Entry& entry = entries_[static_cast<std::size_t>(to)];
        entry.paths = masks_.joined(entry.paths, paths);
        entry.written &= written;
    }

    zel::Plan& plan_;
    const zel::Flow& flow_;
    zel::Planner planner_;
    zel::Masks masks_;
    std::vector<Entry> entries_;
    int mask_ = 0;
};

}  // namespace

namespace zel {

bool planFlow(Plan& plan, const Flow& flow, bool mayPassOver, const ZELLineStruct& line,
              ZELPixelStruct& record)
{
    return FlowPlanner(plan, flow, line, record).planAll(mayPassOver);
}

}  // namespace zel
