// Modifiers of modules that declare themselves what they read and write: EvalModifier and its Modifier objects.
#include "host/core/reasons.h"
#include "host/core/values.h"
#include "host/objects/scene.h"
#include "host/objects/served_modifiers.h"
#include "host/state/text.h"

#include "kz/action.h"
#include "kz/eval.h"
#include "kz/result.h"

#include <algorithm>
#include <cmath>
#include <mutex>
#include <optional>
#include <span>
#include <thread>
#include <utility>

namespace kzhost {

namespace {

bool has(std::uint32_t flags, std::uint32_t flag) { return (flags & flag) != 0; }

struct Attribute {
    std::uint32_t flags = 0;
    ChannelRef channel = {};  // without one, the time or a graph
    bool isTime = false;
    std::optional<std::size_t> input = {}, links = {}, output = {};
};

// One evaluation, which belongs to the thread that it runs on.
struct Run {
    double time;
    CModifier::Inputs inputs;
    CModifier::Outputs outputs;
    std::optional<double> otherTime = {};
};

class CEvaluationAttributes final : public CHosted<"evaluation", CEvaluationAttributes, CKzIfc_Evaluation>,
                                    public CHostSelf<CEvaluationAttributes> {
public:
    explicit CEvaluationAttributes(CHostRef<CItem> item) : m_item(std::move(item)) {}

    // What is declared from here on is too late.
    void declareInto(CServedModifier& modifier) {
        m_isOpen = false;
        for (Attribute& each : attributes) {
            if (each.channel.item == nullptr) continue;
            const auto add = [&](CModifier::Reads reads) {
                modifier.inputs.push_back({each.channel, reads});
                return modifier.inputs.size() - 1;
            };
            const bool writes = has(each.flags, KZfECHAN_WRITE);
            if (has(each.flags, KZfECHAN_READ))
                each.input = add(writes ? CModifier::Reads::before : CModifier::Reads::value);
            if (has(each.flags, KZfECHAN_MULTI)) each.links = add(CModifier::Reads::links);
            if (!writes) continue;
            each.output = modifier.outputs.size();
            modifier.outputs.push_back({each.channel, has(each.flags, KZfECHAN_FORCE)});
        }
        modifier.watched = watched;
        modifier.readsAnyTime = readsAnyTime;
    }
    void begin(Run& run) {
        const std::lock_guard guard(m_lock);
        m_runs.emplace_back(std::this_thread::get_id(), &run);
    }
    void end() {
        const std::lock_guard guard(m_lock);
        const auto own =
            std::ranges::find(m_runs, std::this_thread::get_id(), &std::pair<std::thread::id, Run*>::first);
        if (own != m_runs.end()) m_runs.erase(own);
    }

    KzResult evaluation_AddChannel(IKzUnknown* item, std::int32_t channel, std::uint32_t flags,
                                   std::uint32_t* index) override {
        const auto owner = kzOwn<CItem>(item)->read();
        return add({flags, kzChannelRef(*owner, kzChannelAt(*owner, channel))}, index);
    }
    KzResult evaluation_AddChannelName(IKzUnknown* item, const char* name, std::uint32_t flags,
                                       std::uint32_t* index) override {
        return evaluation_AddChannel(item, kzChannelIndex(*kzOwn<CItem>(item)->read(), kzTextOf(name)), flags, index);
    }
    KzResult evaluation_AddTime(std::uint32_t* index) override { return add({KZfECHAN_READ, {}, true}, index); }
    KzResult evaluation_AddFullTime(std::uint32_t* index) override {
        const KzResult code = evaluation_AddTime(index);
        readsAnyTime = true;
        return code;
    }
    KzResult evaluation_AddGraph(IKzUnknown* item, const char* graph, std::uint32_t flags,
                                 std::uint32_t* index) override {
        if (kzFindGraph(kzTextOf(graph)) == nullptr) return KZe_NOTFOUND;
        const auto owner = kzOwn<CItem>(item)->read();
        const KzResult code = add({flags & ~static_cast<std::uint32_t>(KZfECHAN_WRITE)}, index);
        watched.push_back(owner->shared_from_this());
        return code;
    }
    std::uint32_t evaluation_AttrCount() override { return static_cast<std::uint32_t>(attributes.size()); }
    KzResult evaluation_AttrChannel(std::uint32_t index, IKzUnknown** item, std::int32_t* channel) override {
        const Attribute& attribute = at(index);
        if (attribute.channel.item == nullptr) return KZe_NOTAVAILABLE;
        const CReading reading(m_item->workspace());
        *channel = attribute.channel.item->indexOf(*attribute.channel.channel);
        return kzGiveItem(attribute.channel.item.get(), item);
    }
    double evaluation_Time() override {
        const Run* run = current();
        return run != nullptr ? run->otherTime.value_or(run->time) : 0;
    }
    double evaluation_FrameRate() override {
        const auto owner = m_item->read();
        const Item& root = *owner->document.root();
        return kzNumberOf(root.valueOf(*root.type.channel(KZsICHAN_SCENETIME_FPS))).value_or(0);
    }
    KzResult evaluation_ReadDouble(std::uint32_t index, double* value) override {
        const auto number = kzNumberOf(read(index));
        if (!number) return KZe_INVALIDARG;
        *value = *number;
        return KZe_OK;
    }
    KzResult evaluation_ReadInteger(std::uint32_t index, std::int32_t* value) override {
        const auto found = read(index);
        const auto* cell = std::get_if<KzCell>(&found);
        const auto whole = cell != nullptr ? kzIntegerOf(*cell) : std::nullopt;
        if (!whole) return KZe_INVALIDARG;
        *value = *whole;
        return KZe_OK;
    }
    KzResult evaluation_ReadString(std::uint32_t index, const char** text) override {
        const auto value = read(index);
        const auto* cell = std::get_if<KzCell>(&value);
        const ChannelInfo* channel = at(index).channel.channel.get();
        if (cell == nullptr || channel == nullptr || channel->type == nullptr) return KZe_INVALIDARG;
        *text = kzLend(kzFormatCell(*channel->type, *cell));
        return KZe_OK;
    }
    KzResult evaluation_ReadMatrix(std::uint32_t index, KzMatrix4* matrix) override {
        const auto value = read(index);
        const auto* found = std::get_if<KzMatrix4>(&value);
        if (found == nullptr) return KZe_INVALIDARG;
        *matrix = *found;
        return KZe_OK;
    }
    KzResult evaluation_ReadObject(std::uint32_t index, IKzUnknown** value) override {
        const auto found = read(index);
        const auto* cell = std::get_if<KzCell>(&found);
        const ChannelInfo* channel = at(index).channel.channel.get();
        if (cell == nullptr || channel == nullptr || channel->type == nullptr) return KZe_INVALIDARG;
        return CHostRef<CValue>::make(*channel->type, *cell).give(value);
    }
    KzResult evaluation_WriteDouble(std::uint32_t index, double value) override {
        return std::isfinite(value) ? write(index, KzCell(value)) : KZe_INVALIDARG;
    }
    KzResult evaluation_WriteInteger(std::uint32_t index, std::int32_t value) override {
        return write(index, KzCell(value));
    }
    KzResult evaluation_WriteMatrix(std::uint32_t index, const KzMatrix4* matrix) override {
        return write(index, kzNotNull(matrix));
    }
    KzResult evaluation_SetAlternateTime(double time) override {
        if (!std::isfinite(time)) return KZe_INVALIDARG;
        if (!readsAnyTime)
            return kzBecause(KZe_NOACCESS, "Evaluation.SetAlternateTime",
                             [] { return "AddFullTime declares that other times are read"; });
        running().otherTime = time;
        return KZe_OK;
    }
    void evaluation_ClearAlternate() override {
        if (Run* run = current()) run->otherTime.reset();
    }
    KzResult evaluation_InputCount(std::uint32_t index, std::uint32_t* count) override {
        *count = static_cast<std::uint32_t>(linksOf(index).size());
        return KZe_OK;
    }
    KzResult evaluation_ReadInput(std::uint32_t index, std::uint32_t input, double* value) override {
        const auto& links = linksOf(index);
        if (input >= links.size()) return KZe_OUTOFBOUNDS;
        const auto number = kzNumberOf(links[input]);
        if (!number) return KZe_INVALIDARG;
        *value = *number;
        return KZe_OK;
    }

    std::vector<Attribute> attributes;
    std::vector<ItemRef> watched;
    bool readsAnyTime = false;

private:
    KzResult add(Attribute attribute, std::uint32_t* index) {
        if (!m_isOpen)
            return kzBecause(KZe_NOTAVAILABLE, "Evaluation",
                             [] { return "channels are added in EvalModifier.Alloc only"; });
        attributes.push_back(std::move(attribute));
        *index = static_cast<std::uint32_t>(attributes.size()) - 1;
        return KZe_OK;
    }
    const Attribute& at(std::uint32_t index) const {
        if (index >= attributes.size()) throw KZe_OUTOFBOUNDS;
        return attributes[index];
    }
    Run* current() const {
        const std::lock_guard guard(m_lock);
        const auto own =
            std::ranges::find(m_runs, std::this_thread::get_id(), &std::pair<std::thread::id, Run*>::first);
        return own != m_runs.end() ? own->second : nullptr;
    }
    Run& running() const {
        if (Run* run = current()) return *run;
        throw kzBecause(KZe_NOTAVAILABLE, "Evaluation",
                        [] { return "values are read and written in Modifier.Evaluate only"; });
    }
    EvaluatedValue read(std::uint32_t index) const {
        const Attribute& attribute = at(index);
        const Run& run = running();
        if (attribute.isTime) return KzCell(run.otherTime.value_or(run.time));
        if (!attribute.input) throw KZe_NOACCESS;
        if (!run.otherTime) return run.inputs.at(*attribute.input).front();
        return kzEvaluationOf(attribute.channel.item->document)
            .read(std::span(&attribute.channel, 1), *run.otherTime)
            .front();
    }
    KzResult write(std::uint32_t index, EvaluatedValue value) const {
        const Attribute& attribute = at(index);
        Run& run = running();
        if (!attribute.output) return KZe_NOACCESS;
        if (run.otherTime)
            return kzBecause(KZe_NOTAVAILABLE, "Evaluation",
                             [] { return "only the time that is evaluated can be written"; });
        run.outputs.at(*attribute.output) = std::move(value);
        return KZe_OK;
    }
    const std::vector<EvaluatedValue>& linksOf(std::uint32_t index) const {
        const Attribute& attribute = at(index);
        if (!attribute.links) throw KZe_NOACCESS;
        return running().inputs.at(*attribute.links);
    }

    const CHostRef<CItem> m_item;
    bool m_isOpen = true;
    mutable std::mutex m_lock;
    std::vector<std::pair<std::thread::id, Run*>> m_runs;
};

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
        Run run{time, inputs, Outputs(outputs.size())};
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
