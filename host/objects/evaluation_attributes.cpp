// The attributes of an evaluation.
#include "host/objects/evaluation_attributes.h"

#include "host/core/reasons.h"
#include "host/core/values.h"
#include "host/objects/scene.h"
#include "host/objects/served_modifiers.h"
#include "host/state/text.h"

#include "kz/action.h"
#include "kz/result.h"

#include <algorithm>
#include <cmath>
#include <iterator>
#include <span>

namespace kzhost {

namespace {

bool isOfThisThread(const std::pair<std::thread::id, CEvaluationAttributes::Run*>& run) {
    return run.first == std::this_thread::get_id();
}

bool has(std::uint32_t flags, std::uint32_t flag) { return (flags & flag) != 0; }

std::vector<CEvaluationAttributes*>& runningHere() {
    thread_local std::vector<CEvaluationAttributes*> theRunning;
    return theRunning;
}

// A matrix, a text and an object are each read from channels that have such a value.
const KzCell& requireCell(const EvaluatedValue& value) {
    const auto* cell = std::get_if<KzCell>(&value);
    if (cell == nullptr) throw KZe_INVALIDARG;
    return *cell;
}

double requireNumber(const EvaluatedValue& value) {
    const auto number = kzNumberOf(value);
    if (!number) throw KZe_INVALIDARG;
    return *number;
}

// Attributes keep their items, not the scene: it may be closed, and an item removed.
std::vector<EvaluatedValue> readAt(const CWorkspace& workspace, std::span<const ChannelRef> channels, double time) {
    Item& item = *channels.front().item;
    {
        const CReading reading(workspace);
        if (!item.isPresent)
            throw kzBecause(KZe_NOTAVAILABLE, "Evaluation", [] { return "the item is not in its scene any more"; });
    }
    return kzEvaluationOf(item.document).read(channels, time);
}

}  // namespace

CHostRef<CEvaluationAttributes> CEvaluationAttributes::at(double time) const {
    auto other = CHostRef<CEvaluationAttributes>::make(m_item, time);
    other->m_attributes = m_attributes;
    return other;
}

void CEvaluationAttributes::declareInto(CServedModifier& modifier) {
    m_isOpen = false;
    for (Attribute& each : m_attributes) {
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
    modifier.watched = m_watched;
    modifier.readsAnyTime = m_readsAnyTime;
}

// The same modifier may run inside itself, at another time, so a thread's own run is its last one.
void CEvaluationAttributes::begin(Run& run) {
    runningHere().reserve(runningHere().size() + 1);
    {
        const std::lock_guard lock(m_lock);
        m_runs.emplace_back(std::this_thread::get_id(), &run);
    }
    runningHere().push_back(this);  // cannot fail
}

void CEvaluationAttributes::end() {
    runningHere().pop_back();
    const std::lock_guard lock(m_lock);
    const auto own = std::find_if(m_runs.rbegin(), m_runs.rend(), isOfThisThread);
    if (own != m_runs.rend()) m_runs.erase(std::next(own).base());
}

CHostRef<CEvaluationAttributes> CEvaluationAttributes::running() {
    return runningHere().empty() ? CHostRef<CEvaluationAttributes>() : runningHere().back()->self();
}

KzResult CEvaluationAttributes::evaluation_AddChannel(IKzUnknown* item, std::int32_t channel, std::uint32_t flags,
                                                      std::uint32_t* index) {
    const auto owner = kzOwn<CItem>(item)->read();
    return add({flags, kzChannelRef(*owner, kzChannelAt(*owner, channel))}, index);
}

KzResult CEvaluationAttributes::evaluation_AddChannelName(IKzUnknown* item, const char* name, std::uint32_t flags,
                                                          std::uint32_t* index) {
    return evaluation_AddChannel(item, kzChannelIndex(*kzOwn<CItem>(item)->read(), kzTextOf(name)), flags, index);
}

KzResult CEvaluationAttributes::evaluation_AddTime(std::uint32_t* index) {
    return add({KZfECHAN_READ, {}, true}, index);
}

KzResult CEvaluationAttributes::evaluation_AddFullTime(std::uint32_t* index) {
    const KzResult code = evaluation_AddTime(index);
    m_readsAnyTime = true;
    return code;
}

KzResult CEvaluationAttributes::evaluation_AddGraph(IKzUnknown* item, const char* graph, std::uint32_t flags,
                                                    std::uint32_t* index) {
    if (kzFindGraph(kzTextOf(graph)) == nullptr) return KZe_NOTFOUND;
    const auto owner = kzOwn<CItem>(item)->read();
    const KzResult code = add({flags & ~static_cast<std::uint32_t>(KZfECHAN_WRITE)}, index);
    m_watched.push_back(owner->shared_from_this());
    return code;
}

KzResult CEvaluationAttributes::evaluation_AttrChannel(std::uint32_t index, IKzUnknown** item, std::int32_t* channel) {
    const Attribute& attribute = attributeAt(index);
    if (attribute.channel.item == nullptr) return KZe_NOTAVAILABLE;
    const CReading reading(m_item->workspace());
    *channel = attribute.channel.item->indexOf(*attribute.channel.channel);
    return kzGiveItem(attribute.channel.item.get(), item);
}

double CEvaluationAttributes::evaluation_Time() {
    if (m_ownTime) return m_otherTime.value_or(*m_ownTime);
    const Run* run = current();
    return run != nullptr ? run->otherTime.value_or(run->time) : 0;
}

double CEvaluationAttributes::evaluation_FrameRate() {
    const auto owner = m_item->read();
    const Item& root = *owner->document.root();
    return kzNumberOf(root.valueOf(*root.type.channel(KZsICHAN_SCENETIME_FPS))).value_or(0);
}

KzResult CEvaluationAttributes::evaluation_ReadDouble(std::uint32_t index, double* value) {
    *value = requireNumber(read(index));
    return KZe_OK;
}

KzResult CEvaluationAttributes::evaluation_ReadInteger(std::uint32_t index, std::int32_t* value) {
    const auto whole = kzIntegerOf(requireCell(read(index)));
    if (!whole) return KZe_INVALIDARG;
    *value = *whole;
    return KZe_OK;
}

KzResult CEvaluationAttributes::evaluation_ReadString(std::uint32_t index, const char** text) {
    *text = kzLend(kzFormatCell(typeOf(index), requireCell(read(index))));
    return KZe_OK;
}

KzResult CEvaluationAttributes::evaluation_ReadMatrix(std::uint32_t index, KzMatrix4* matrix) {
    const auto value = read(index);
    const auto* found = std::get_if<KzMatrix4>(&value);
    if (found == nullptr) return KZe_INVALIDARG;
    *matrix = *found;
    return KZe_OK;
}

KzResult CEvaluationAttributes::evaluation_ReadObject(std::uint32_t index, IKzUnknown** value) {
    return CHostRef<CValue>::make(typeOf(index), requireCell(read(index))).give(value);
}

KzResult CEvaluationAttributes::evaluation_WriteDouble(std::uint32_t index, double value) {
    return std::isfinite(value) ? write(index, KzCell(value)) : KZe_INVALIDARG;
}

KzResult CEvaluationAttributes::evaluation_WriteInteger(std::uint32_t index, std::int32_t value) {
    return write(index, KzCell(value));
}

KzResult CEvaluationAttributes::evaluation_WriteMatrix(std::uint32_t index, const KzMatrix4* matrix) {
    return write(index, kzNotNull(matrix));
}

// Converted to the channel's type, as by a writer of channels.
KzResult CEvaluationAttributes::evaluation_WriteObject(std::uint32_t index, IKzUnknown* value) {
    if (value == nullptr) return KZe_INVALIDARG;
    const auto copy = CHostRef<CValue>::make(typeOf(index).name);
    const KzResult code = copy->val_Copy(value);
    return kzFailed(code) ? code : write(index, copy->cell());
}

KzResult CEvaluationAttributes::evaluation_SetAlternateTime(double time) {
    if (!std::isfinite(time)) return KZe_INVALIDARG;
    if (!readsAnyTime())
        return kzBecause(KZe_NOACCESS, "Evaluation.SetAlternateTime",
                         [] { return "AddFullTime declares that other times are read"; });
    if (m_ownTime) m_otherTime = time;
    else requireRun().otherTime = time;
    return KZe_OK;
}

void CEvaluationAttributes::evaluation_ClearAlternate() {
    m_otherTime.reset();
    if (Run* run = current()) run->otherTime.reset();
}

KzResult CEvaluationAttributes::evaluation_InputCount(std::uint32_t index, std::uint32_t* count) {
    *count = static_cast<std::uint32_t>(linksOf(index).size());
    return KZe_OK;
}

KzResult CEvaluationAttributes::evaluation_ReadInput(std::uint32_t index, std::uint32_t input, double* value) {
    const auto links = linksOf(index);
    if (input >= links.size()) return KZe_OUTOFBOUNDS;
    *value = requireNumber(links[input]);
    return KZe_OK;
}

KzResult CEvaluationAttributes::add(Attribute attribute, std::uint32_t* index) {
    if (!m_isOpen)
        return kzBecause(KZe_NOTAVAILABLE, "Evaluation",
                         [] { return "channels are added in EvalModifier.Alloc only"; });
    m_attributes.push_back(std::move(attribute));
    *index = static_cast<std::uint32_t>(m_attributes.size()) - 1;
    return KZe_OK;
}

const CEvaluationAttributes::Attribute& CEvaluationAttributes::attributeAt(std::uint32_t index) const {
    if (index >= m_attributes.size()) throw KZe_OUTOFBOUNDS;
    return m_attributes[index];
}

const KzValueType& CEvaluationAttributes::typeOf(std::uint32_t index) const {
    const ChannelInfo* channel = attributeAt(index).channel.channel.get();
    if (channel == nullptr || channel->type == nullptr) throw KZe_INVALIDARG;
    return *channel->type;
}

CEvaluationAttributes::Run* CEvaluationAttributes::current() const {
    const std::lock_guard lock(m_lock);
    const auto own = std::find_if(m_runs.rbegin(), m_runs.rend(), isOfThisThread);
    return own != m_runs.rend() ? own->second : nullptr;
}

CEvaluationAttributes::Run& CEvaluationAttributes::requireRun() const {
    if (Run* run = current()) return *run;
    throw kzBecause(KZe_NOTAVAILABLE, "Evaluation",
                    [] { return "values are read and written in Modifier.Evaluate only"; });
}

EvaluatedValue CEvaluationAttributes::read(std::uint32_t index) const {
    const Attribute& attribute = attributeAt(index);
    const Run* run = m_ownTime ? nullptr : &requireRun();
    const std::optional<double> other = m_ownTime ? m_otherTime.value_or(*m_ownTime) : run->otherTime;
    if (attribute.isTime) return KzCell(other.value_or(run != nullptr ? run->time : 0));
    if (attribute.channel.item == nullptr || !has(attribute.flags, KZfECHAN_READ)) throw KZe_NOACCESS;
    if (!other) return run->inputs.at(*attribute.input).front();
    const ChannelRef channel = attribute.channel;  // a modifier that runs now may add attributes
    return readAt(m_item->workspace(), std::span(&channel, 1), *other).front();
}

KzResult CEvaluationAttributes::write(std::uint32_t index, EvaluatedValue value) const {
    const Attribute& attribute = attributeAt(index);
    if (m_ownTime)
        return kzBecause(KZe_NOACCESS, "Evaluation", [] { return "only a modifier writes, into its own evaluation"; });
    Run& run = requireRun();
    if (!attribute.output) return KZe_NOACCESS;
    if (run.otherTime)
        return kzBecause(KZe_NOTAVAILABLE, "Evaluation",
                         [] { return "only the time that is evaluated can be written"; });
    run.outputs.at(*attribute.output) = std::move(value);
    return KZe_OK;
}

std::vector<EvaluatedValue> CEvaluationAttributes::linksOf(std::uint32_t index) const {
    const Attribute& attribute = attributeAt(index);
    if (attribute.channel.item == nullptr || !has(attribute.flags, KZfECHAN_MULTI)) throw KZe_NOACCESS;
    if (!m_ownTime) return requireRun().inputs.at(*attribute.links);
    std::vector<ChannelRef> sources;
    {
        const CReading reading(m_item->workspace());
        for (const auto& link : attribute.channel.item->inputs)
            if (link->targetChannel == attribute.channel.channel.get())
                sources.push_back(kzChannelRef(*link->source, *link->sourceChannel));
    }
    if (sources.empty()) sources.push_back(attribute.channel);  // as a modifier has it: the channel's own value
    return readAt(m_item->workspace(), sources, m_otherTime.value_or(*m_ownTime));
}

}  // namespace kzhost
