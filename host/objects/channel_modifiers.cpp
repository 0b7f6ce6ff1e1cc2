// Modifiers of modules that compute the output channels of an item from its inputs: ChannelModItem and ChannelModManager.
#include "host/core/reasons.h"
#include "host/core/values.h"
#include "host/objects/served_modifiers.h"
#include "host/state/text.h"

#include "kz/channel_mod.h"
#include "kz/result.h"

#include <algorithm>
#include <cmath>
#include <mutex>
#include <span>
#include <utility>

namespace kzhost {

namespace {

bool has(std::uint32_t flags, std::uint32_t flag) { return (flags & flag) != 0; }

// What the server has declared: channels by index, each an input or an output.
class CChannelPlan : public CServedModifier {
public:
    explicit CChannelPlan(CHostRef<CItem> owner) : owner(std::move(owner)) {
        const auto reading = this->owner->read();
        item = reading->shared_from_this();
    }
    const CHostRef<CItem> owner;
    struct Use {
        std::uint32_t flags;
        std::size_t index;  // among the inputs or the outputs
    };
    std::vector<Use> uses;
};

class CChannelModSetup final : public CHosted<"channel modifier setup", CChannelModSetup, CKzIfc_ChannelModSetup> {
public:
    explicit CChannelModSetup(std::shared_ptr<CChannelPlan> plan) : m_plan(std::move(plan)) {}
    // Nothing can be declared any more.
    void close() { m_plan = nullptr; }

    KzResult channelmodsetup_Item(IKzUnknown** item) override { return plan().owner.give(item); }
    KzResult channelmodsetup_AddInput(const char* channel, std::uint32_t flags, std::uint32_t* index) override {
        return add(plan().owner, channel, flags | KZfCHMOD_INPUT, CModifier::Reads::links, index);
    }
    KzResult channelmodsetup_AddOutput(const char* channel, std::uint32_t flags, std::uint32_t* index) override {
        return add(plan().owner, channel, (flags & ~KZfCHMOD_INPUT) | KZfCHMOD_OUTPUT, CModifier::Reads::value, index);
    }
    KzResult channelmodsetup_AddTime() override {
        plan();  // values are kept by time in any case
        return KZe_OK;
    }
    KzResult channelmodsetup_AddItem(IKzUnknown* item, const char* channel, std::uint32_t* index) override {
        const auto other = kzOwn<CItem>(item);
        if (&other->workspace() != &plan().owner->workspace()) return KZe_INVALIDARG;
        return add(other, channel, KZfCHMOD_INPUT, CModifier::Reads::value, index);
    }
    KzResult channelmodsetup_SetLookup(std::uint32_t index, std::uint32_t flags) override {
        CChannelPlan& declared = plan();
        if (index >= declared.uses.size()) return KZe_OUTOFBOUNDS;
        auto& use = declared.uses[index];
        use.flags = (flags & ~(KZfCHMOD_INPUT | KZfCHMOD_OUTPUT)) | (use.flags & (KZfCHMOD_INPUT | KZfCHMOD_OUTPUT));
        if (has(use.flags, KZfCHMOD_INPUT)) declared.inputs[use.index].isRequired = has(flags, KZfCHMOD_REQUIRED);
        declared.readsAnyTime |= has(flags, KZfCHMOD_ALLTIME);
        return KZe_OK;
    }
    std::uint32_t channelmodsetup_Count() override { return static_cast<std::uint32_t>(plan().uses.size()); }

private:
    CChannelPlan& plan() const {
        if (m_plan == nullptr)
            throw kzBecause(KZe_NOTAVAILABLE, "ChannelModSetup",
                            [] { return "channels are declared in Allocate or Define only"; });
        return *m_plan;
    }
    KzResult add(const CHostRef<CItem>& item, const char* channel, std::uint32_t flags, CModifier::Reads reads,
                 std::uint32_t* index) {
        CChannelPlan& declared = plan();
        const auto owner = item->read();
        const ChannelRef ref = kzChannelRef(*owner, kzChannelAt(*owner, kzChannelIndex(*owner, kzTextOf(channel))));
        const bool isInput = has(flags, KZfCHMOD_INPUT);
        declared.uses.push_back({flags, isInput ? declared.inputs.size() : declared.outputs.size()});
        if (isInput) declared.inputs.push_back({ref, reads, has(flags, KZfCHMOD_REQUIRED)});
        else declared.outputs.push_back({ref});
        declared.readsAnyTime |= has(flags, KZfCHMOD_ALLTIME);
        *index = static_cast<std::uint32_t>(declared.uses.size()) - 1;
        return KZe_OK;
    }

    std::shared_ptr<CChannelPlan> m_plan;
};

// One evaluation: the inputs as they were when it began, and the outputs so far.
class CChannelModifier final : public CHosted<"channel modifier", CChannelModifier, CKzIfc_ChannelModifier> {
public:
    CChannelModifier(std::shared_ptr<const CChannelPlan> plan, double time, CModifier::Inputs inputs)
        : m_plan(std::move(plan)), m_time(time), m_inputs(std::move(inputs)), m_outputs(m_plan->outputs.size()) {}
    CModifier::Outputs outputs() const {
        const std::lock_guard guard(m_lock);
        return m_outputs;
    }

    double channelmodifier_Time() override { return m_time; }
    KzResult channelmodifier_ReadDouble(std::uint32_t index, std::uint32_t link, double* value) override {
        const auto number = kzNumberOf(input(index, link));
        if (!number) return KZe_INVALIDARG;
        *value = *number;
        return KZe_OK;
    }
    KzResult channelmodifier_ReadInteger(std::uint32_t index, std::uint32_t link, std::int32_t* value) override {
        const auto* cell = std::get_if<KzCell>(&input(index, link));
        const auto whole = cell != nullptr ? kzIntegerOf(*cell) : std::nullopt;
        if (!whole) return KZe_INVALIDARG;
        *value = *whole;
        return KZe_OK;
    }
    KzResult channelmodifier_ReadAtTime(std::uint32_t index, double time, double* value) override {
        const auto& use = useOf(index, KZfCHMOD_INPUT);
        if (!has(use.flags, KZfCHMOD_ALLTIME)) return KZe_NOACCESS;
        if (!std::isfinite(time)) return KZe_INVALIDARG;
        const ChannelRef& channel = m_plan->inputs[use.index].channel;
        const auto found = kzEvaluationOf(channel.item->document).read(std::span(&channel, 1), time).front();
        const auto number = kzNumberOf(found);
        if (!number) return KZe_INVALIDARG;
        *value = *number;
        return KZe_OK;
    }
    KzResult channelmodifier_ReadObject(std::uint32_t index, std::uint32_t link, IKzUnknown** value) override {
        const auto* cell = std::get_if<KzCell>(&input(index, link));
        const auto& channel = *m_plan->inputs[useOf(index, KZfCHMOD_INPUT).index].channel.channel;
        if (!isLinked(index) || cell == nullptr || channel.type == nullptr) return KZe_NOTFOUND;
        return CHostRef<CValue>::make(*channel.type, *cell).give(value);
    }
    KzResult channelmodifier_ReadMatrix(std::uint32_t index, std::uint32_t link, KzMatrix4* matrix) override {
        const auto* found = std::get_if<KzMatrix4>(&input(index, link));
        if (found == nullptr) return KZe_NOTFOUND;
        *matrix = *found;
        return KZe_OK;
    }
    KzResult channelmodifier_LinkCount(std::uint32_t index, std::uint32_t* count) override {
        const std::size_t values = m_inputs.at(useOf(index, KZfCHMOD_INPUT).index).size();
        *count = isLinked(index) ? static_cast<std::uint32_t>(values) : 0;
        return KZe_OK;
    }
    KzResult channelmodifier_WriteDouble(std::uint32_t index, double value) override {
        if (!std::isfinite(value)) return KZe_INVALIDARG;
        return write(index, KzCell(value));
    }
    KzResult channelmodifier_WriteInteger(std::uint32_t index, std::int32_t value) override {
        return write(index, KzCell(value));
    }
    KzResult channelmodifier_WriteMatrix(std::uint32_t index, const KzMatrix4* matrix) override {
        return write(index, kzNotNull(matrix));
    }

private:
    const CChannelPlan::Use& useOf(std::uint32_t index, std::uint32_t flag) const {
        if (index >= m_plan->uses.size()) throw KZe_OUTOFBOUNDS;
        if (!has(m_plan->uses[index].flags, flag)) throw KZe_NOACCESS;
        return m_plan->uses[index];
    }
    const EvaluatedValue& input(std::uint32_t index, std::uint32_t link) const {
        const auto& values = m_inputs.at(useOf(index, KZfCHMOD_INPUT).index);
        if (link >= values.size()) throw KZe_OUTOFBOUNDS;
        return values[link];
    }
    bool isLinked(std::uint32_t index) const {
        const ChannelRef& channel = m_plan->inputs[useOf(index, KZfCHMOD_INPUT).index].channel;
        const CReading reading(channel.item->document.workspace());
        return std::ranges::any_of(channel.item->inputs,
                                   [&](const auto& link) { return link->targetChannel == channel.channel.get(); });
    }
    KzResult write(std::uint32_t index, EvaluatedValue value) {
        const std::size_t output = useOf(index, KZfCHMOD_OUTPUT).index;
        const std::lock_guard guard(m_lock);
        m_outputs[output] = std::move(value);
        return KZe_OK;
    }

    const std::shared_ptr<const CChannelPlan> m_plan;
    const double m_time;
    const CModifier::Inputs m_inputs;
    mutable std::mutex m_lock;
    CModifier::Outputs m_outputs;
};

void require(KzResult code) {
    if (kzFailed(code)) throw code;
}

std::shared_ptr<const CChannelPlan> planOf(const CChannelPlan& plan) {
    return std::static_pointer_cast<const CChannelPlan>(plan.shared_from_this());
}

class CModItemPlan final : public CChannelPlan {
public:
    using CChannelPlan::CChannelPlan;
    Outputs run(double time, const Inputs& inputs) const override {
        const auto modifier = CHostRef<CChannelModifier>::make(planOf(*this), time, inputs);
        // A server in Python is never given a null object, so one without an evaluator gets the modifier twice.
        require(server.Evaluate(modifier.raw(), evaluator.raw() != nullptr ? evaluator.raw() : modifier.raw()));
        return modifier->outputs();
    }
    bool renew() override {
        if (evaluator.raw() != nullptr) server.Invalidate(evaluator.raw());
        const CReading reading(owner->workspace());
        return ownsItsChannels();
    }
    CKzUser_ChannelModItem server;
    CKzLoc_Unknown object, evaluator;
};

// Operators that are not running wait for the next evaluation.
class CManagerPlan final : public CChannelPlan {
public:
    using CChannelPlan::CChannelPlan;
    Outputs run(double time, const Inputs& inputs) const override {
        const auto modifier = CHostRef<CChannelModifier>::make(planOf(*this), time, inputs);
        std::unique_ptr<CKzLoc_Unknown> one = takeOperator();
        if (one == nullptr) {
            one = std::make_unique<CKzLoc_Unknown>();
            require(server.Allocate(modifier.raw(), one->out()));
        }
        require(CKzUser_ChannelModOperator(one->raw()).Evaluate(modifier.raw()));
        const std::lock_guard guard(m_lock);
        m_waiting.push_back(std::move(one));
        return modifier->outputs();
    }
    bool renew() override {
        const CReading reading(owner->workspace());
        return ownsItsChannels();
    }
    CKzUser_ChannelModManager server;
    CKzLoc_Unknown object;

private:
    std::unique_ptr<CKzLoc_Unknown> takeOperator() const {
        const std::lock_guard guard(m_lock);
        if (m_waiting.empty()) return nullptr;
        auto one = std::move(m_waiting.back());
        m_waiting.pop_back();
        return one;
    }
    mutable std::mutex m_lock;
    mutable std::vector<std::unique_ptr<CKzLoc_Unknown>> m_waiting;
};

}  // namespace

std::shared_ptr<CServedModifier> kzDeclareChannelModItem(const KzServer& server, CHostRef<CItem> item) {
    const auto plan = std::make_shared<CModItemPlan>(std::move(item));
    if (!plan->server.set(CModuleTable::spawn(server, plan->object).raw())) throw KZe_NOINTERFACE;
    const auto setup = CHostRef<CChannelModSetup>::make(plan);
    const KzResult code = plan->server.Allocate(setup.raw(), plan->evaluator.out());
    setup->close();
    if (code != KZe_NOTFOUND) require(code);  // which says that it needs no object of its own
    return plan;
}

std::shared_ptr<CServedModifier> kzDeclareChannelModManager(const KzServer& server, CHostRef<CItem> item) {
    const auto plan = std::make_shared<CManagerPlan>(std::move(item));
    if (!plan->server.set(CModuleTable::spawn(server, plan->object).raw())) throw KZe_NOINTERFACE;
    const auto setup = CHostRef<CChannelModSetup>::make(plan);
    const KzResult code = plan->server.Define(setup.raw());
    setup->close();
    require(code);
    return plan;
}

}  // namespace kzhost
