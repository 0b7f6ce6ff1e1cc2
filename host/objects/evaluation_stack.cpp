// Evaluations that are nested in one another: looking at an item, or at several, at times of one's own.
#include "host/objects/evaluation_stack.h"

#include "host/core/reasons.h"
#include "host/objects/evaluation_attributes.h"
#include "host/objects/scene.h"

#include "kz/eval.h"
#include "kz/result.h"

#include <cmath>
#include <utility>
#include <vector>

namespace kzhost {

namespace {

class CEvaluationStack final : public CHosted<"evaluation stack", CEvaluationStack, CKzIfc_EvaluationStack> {
public:
    // Its attributes are those of the state before, so their indices stay as they are.
    KzResult evaluationstack_Push(double time) override {
        const auto now = current("EvaluationStack.Push");
        requireFree(time);
        m_states.push_back(now->at(time));
        return KZe_OK;
    }
    KzResult evaluationstack_PushItem(IKzUnknown* item, double time) override {
        auto own = kzOwn<CItem>(item);
        own->read();
        requireFree(time);
        m_states.push_back(CHostRef<CEvaluationAttributes>::make(std::move(own), time));
        return KZe_OK;
    }
    KzResult evaluationstack_Pop() override {
        if (m_states.empty())
            return kzBecause(KZe_NOTAVAILABLE, "EvaluationStack.Pop", [] { return "nothing was pushed"; });
        m_states.pop_back();
        return KZe_OK;
    }
    std::uint32_t evaluationstack_Depth() override { return static_cast<std::uint32_t>(m_states.size()); }
    KzResult evaluationstack_Current(IKzUnknown** evaluation) override {
        return current("EvaluationStack.Current").give(evaluation);
    }
    KzResult evaluationstack_Clear() override {
        m_states.clear();
        return KZe_OK;
    }

private:
    // What was pushed last or, before anything was, what the running modifier computes.
    CHostRef<CEvaluationAttributes> current(const char* place) const {
        auto now = m_states.empty() ? CEvaluationAttributes::running() : m_states.back();
        if (now) return now;
        throw kzBecause(KZe_NOTAVAILABLE, place, [] { return "nothing is evaluated: PushItem says which item"; });
    }
    // A modifier that looks at what it has not declared would not be run again when that changes.
    static void requireFree(double time) {
        if (!std::isfinite(time)) throw KZe_INVALIDARG;
        const auto modifier = CEvaluationAttributes::running();
        if (modifier && !modifier->readsAnyTime())
            throw kzBecause(KZe_NOACCESS, "EvaluationStack",
                            [] { return "AddFullTime declares that a modifier reads at other times"; });
    }

    std::vector<CHostRef<CEvaluationAttributes>> m_states;
};

}  // namespace

IKzUnknown* kzMakeEvaluationStack() { return kzMakeObject<CEvaluationStack>(); }

}  // namespace kzhost
