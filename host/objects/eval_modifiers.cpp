// Modifiers of modules that declare themselves what they read and write: EvalModifier and its Modifier objects.
#include "host/objects/evaluation_attributes.h"
#include "host/objects/scene.h"
#include "host/objects/served_modifiers.h"

#include "kz/eval.h"
#include "kz/result.h"

#include <algorithm>
#include <iterator>
#include <utility>

namespace kzhost {

namespace {

class CEvalPlan final : public CServedModifier {
public:
    explicit CEvalPlan(CHostRef<CItem> item)
        : owner(std::move(item)), attributes(CHostRef<CEvaluationAttributes>::make(owner)) {
        const auto reading = owner->read();
        CModifier::item = reading->shared_from_this();
    }
    ~CEvalPlan() override {
        if (modifier.ptr() != nullptr) modifier.Free();
    }
    Outputs run(double time, const Inputs& inputs) const override {
        if (const KzResult code = modifier.Validate(owner.raw(), number, KZiEVALREASON_TIME);
            kzFailed(code) && code != kzNotImplemented)
            return {};
        CEvaluationAttributes::Run run{time, inputs, Outputs(outputs.size())};
        attributes->begin(run);
        const KzResult code = modifier.Evaluate();
        attributes->end();
        if (kzFailed(code)) throw code;
        return std::move(run.outputs);
    }
    bool renew() override {
        modifier.Invalidate(owner.raw(), number);
        const KzResult code = modifier.Test(owner.raw(), number);
        if (kzFailed(code) && code != kzNotImplemented) return false;
        const CReading reading(owner->workspace());
        return ownsItsChannels();
    }
    // The items whose modifiers run before this one.
    void readRequired() {
        std::uint32_t count = 0;
        if (kzFailed(modifier.RequiredCount(&count))) return;
        for (std::uint32_t i = 0; i < count; ++i) {
            CKzLoc_Unknown before;
            const char* type = nullptr;
            if (kzFailed(modifier.RequiredByIndex(i, before.out(), &type))) break;
            if (const auto other = CHostRef<CItem>::of(before.raw()))
                first.push_back(other->read()->shared_from_this());
        }
    }
    const CHostRef<CItem> owner;
    const CHostRef<CEvaluationAttributes> attributes;
    CKzUser_Modifier modifier;
    CKzLoc_Unknown object;
};

}  // namespace

// Without a Next of its own, a server has one modifier for each item of its tag's type.
ServedModifiers kzDeclareEvalModifiers(const KzServer& server, CDocument& document,
                                       const std::vector<CHostRef<CItem>>& items, const ModifiersByItem& known) {
    CKzLoc_Unknown object;
    const CKzUser_EvalModifier source(CModuleTable::spawn(server, object).raw());
    if (!source) throw KZe_NOINTERFACE;
    std::vector<std::pair<CHostRef<CItem>, std::uint32_t>> wanted;
    CHostRef<CScene> scene;
    {
        const CReading reading(document.workspace());
        scene = kzObjectOf(document);
    }
    const KzResult began = source.Reset(scene.raw());
    if (kzFailed(began) && began != kzNotImplemented) throw began;
    for (;;) {
        CKzLoc_Unknown item;
        std::uint32_t index = 0;
        const KzResult code = source.Next(item.out(), &index);
        if (code == kzNotImplemented)
            for (const auto& each : items) wanted.emplace_back(each, 0);
        if (kzFailed(code)) {
            if (code != kzNotImplemented && code != KZe_NOTFOUND) throw code;
            break;
        }
        wanted.emplace_back(kzOwn<CItem>(item.raw()), index);
    }
    ServedModifiers modifiers;
    for (const auto& [item, index] : wanted) {
        auto modifier = kzRenewed(server, *item, index, known);
        if (modifier == nullptr) {
            const auto plan = std::make_shared<CEvalPlan>(item);
            const KzResult code = source.Alloc(item.raw(), index, plan->attributes.raw(), plan->object.out());
            if (kzFailed(code)) throw code;
            if (!plan->modifier.set(plan->object.raw())) throw KZe_NOINTERFACE;
            plan->number = index;
            plan->attributes->declareInto(*plan);
            plan->readRequired();
            modifier = plan;
        }
        modifiers.push_back(std::move(modifier));
    }
    return modifiers;
}

}  // namespace kzhost
