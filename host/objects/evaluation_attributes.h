// The attributes of an evaluation: what a modifier has declared and now reads and writes, or what a script looks at for
// itself at a time of its own.
#pragma once

#include "host/document/evaluation.h"
#include "host/objects/item.h"

#include "kz/eval.h"

#include <mutex>
#include <optional>
#include <thread>
#include <utility>
#include <vector>

namespace kzhost {

class CServedModifier;

class CEvaluationAttributes final : public CHosted<"evaluation", CEvaluationAttributes, CKzIfc_Evaluation>,
                                    public CHostSelf<CEvaluationAttributes> {
public:
    // One run of a modifier, which belongs to the thread that it runs on.
    struct Run {
        double time;
        CModifier::Inputs inputs;
        CModifier::Outputs outputs;
        std::optional<double> otherTime = {};
    };

    explicit CEvaluationAttributes(CHostRef<CItem> item) : m_item(std::move(item)) {}
    // Nothing is computed for these: they read what is evaluated at that time.
    CEvaluationAttributes(CHostRef<CItem> item, double time) : m_item(std::move(item)), m_ownTime(time) {}
    // The same attributes at another time.
    CHostRef<CEvaluationAttributes> at(double time) const;

    // What is declared from here on is too late.
    void declareInto(CServedModifier& modifier);
    void begin(Run& run);
    void end();
    // Those of the modifier that runs on this thread; empty outside of one.
    static CHostRef<CEvaluationAttributes> running();
    bool readsAnyTime() const noexcept { return m_readsAnyTime || m_ownTime; }

    KzResult evaluation_AddChannel(IKzUnknown* item, std::int32_t channel, std::uint32_t flags,
                                   std::uint32_t* index) override;
    KzResult evaluation_AddChannelName(IKzUnknown* item, const char* name, std::uint32_t flags,
                                       std::uint32_t* index) override;
    KzResult evaluation_AddTime(std::uint32_t* index) override;
    KzResult evaluation_AddFullTime(std::uint32_t* index) override;
    KzResult evaluation_AddGraph(IKzUnknown* item, const char* graph, std::uint32_t flags,
                                 std::uint32_t* index) override;
    std::uint32_t evaluation_AttrCount() override { return static_cast<std::uint32_t>(m_attributes.size()); }
    KzResult evaluation_AttrChannel(std::uint32_t index, IKzUnknown** item, std::int32_t* channel) override;
    double evaluation_Time() override;
    double evaluation_FrameRate() override;
    KzResult evaluation_ReadDouble(std::uint32_t index, double* value) override;
    KzResult evaluation_ReadInteger(std::uint32_t index, std::int32_t* value) override;
    KzResult evaluation_ReadString(std::uint32_t index, const char** text) override;
    KzResult evaluation_ReadMatrix(std::uint32_t index, KzMatrix4* matrix) override;
    KzResult evaluation_ReadObject(std::uint32_t index, IKzUnknown** value) override;
    KzResult evaluation_WriteDouble(std::uint32_t index, double value) override;
    KzResult evaluation_WriteInteger(std::uint32_t index, std::int32_t value) override;
    KzResult evaluation_WriteMatrix(std::uint32_t index, const KzMatrix4* matrix) override;
    KzResult evaluation_WriteObject(std::uint32_t index, IKzUnknown* value) override;
    KzResult evaluation_SetAlternateTime(double time) override;
    void evaluation_ClearAlternate() override;
    KzResult evaluation_InputCount(std::uint32_t index, std::uint32_t* count) override;
    KzResult evaluation_ReadInput(std::uint32_t index, std::uint32_t input, double* value) override;

private:
    struct Attribute {
        std::uint32_t flags = 0;
        ChannelRef channel = {};  // without one, the time or a graph
        bool isTime = false;
        std::optional<std::size_t> input = {}, links = {}, output = {};
    };

    KzResult add(Attribute attribute, std::uint32_t* index);
    const Attribute& attributeAt(std::uint32_t index) const;
    Run* current() const;
    Run& requireRun() const;
    EvaluatedValue read(std::uint32_t index) const;
    const KzValueType& typeOf(std::uint32_t index) const;
    KzResult write(std::uint32_t index, EvaluatedValue value) const;
    std::vector<EvaluatedValue> linksOf(std::uint32_t index) const;

    const CHostRef<CItem> m_item;
    const std::optional<double> m_ownTime;
    std::optional<double> m_otherTime;  // in place of its own
    bool m_isOpen = true;
    std::vector<Attribute> m_attributes;
    std::vector<ItemRef> m_watched;
    bool m_readsAnyTime = false;
    mutable std::mutex m_lock;
    std::vector<std::pair<std::thread::id, Run*>> m_runs;
};

}  // namespace kzhost
