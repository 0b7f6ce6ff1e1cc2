// The undo service: the history of the documents, as scripts and modules see it.
#include "host/services/undo_service.h"

#include "host/core/object.h"
#include "host/core/reasons.h"
#include "host/core/service_base.h"
#include "host/objects/open_scenes.h"
#include "host/state/text.h"

#include "kz/undo.h"

#include <cstdlib>
#include <memory>
#include <utility>

namespace kzhost {

namespace {

// A change of a module's: its own object makes and reverses it.
class CServedChange final : public CChange {
public:
    explicit CServedChange(IKzUnknown* change) : CChange(nullptr), m_change(change) {
        if (!m_change)
            throw kzBecause(KZe_INVALIDARG, "Undo", [] { return "the change is no object with the interface Undo"; });
    }
    void apply(Direction direction, DocumentEvents& /*events*/) override {
        if (direction == Direction::forward) m_change->Forward();
        else m_change->Reverse();
    }
    bool isForeign() const override { return true; }
    std::size_t memory() const override { return sizeof *this; }

private:
    CKzUser_Undo m_change;
};

class CUndoService final : public CHosted<"undo service", CUndoService, CKzIfc_UndoService>, CServiceBase {
public:
    CUndoService(std::shared_ptr<ServiceContext> context, const std::shared_ptr<OpenScenes>& scenes)
        : CServiceBase(std::move(context)), m_workspace(scenes->workspace) {}

    std::uint32_t undoservice_State() override {
        enter("Undo.State");
        return m_workspace->state();
    }
    KzResult undoservice_Apply(IKzUnknown* change) override {
        enterMain("Undo.Apply");
        m_workspace->make(std::make_unique<CServedChange>(change));
        return KZe_OK;
    }
    KzResult undoservice_Record(IKzUnknown* change) override {
        enterMain("Undo.Record");
        m_workspace->record(std::make_unique<CServedChange>(change));
        return KZe_OK;
    }
    KzResult undoservice_BlockBegin(const char* name, std::uint32_t flags) override {
        enterMain("Undo.BlockBegin");
        m_workspace->beginBlock(kzString(name), flags);
        return KZe_OK;
    }
    KzResult undoservice_BlockEnd() override {
        enterMain("Undo.BlockEnd");
        m_workspace->endBlock();
        return KZe_OK;
    }
    KzResult undoservice_BlockDiscard() override {
        enterMain("Undo.BlockDiscard");
        m_workspace->discardBlock();
        return KZe_OK;
    }
    KzResult undoservice_Suspend(std::int32_t suspended) override {
        enterMain("Undo.Suspend");
        m_workspace->suspend(suspended != 0);
        return KZe_OK;
    }
    KzResult undoservice_Undo(std::int32_t steps) override {
        enterMain("Undo.Undo");
        m_workspace->undo(stepsOf(steps));
        return KZe_OK;
    }
    KzResult undoservice_Redo(std::int32_t steps) override {
        enterMain("Undo.Redo");
        m_workspace->redo(stepsOf(steps));
        return KZe_OK;
    }
    KzResult undoservice_Count(std::uint32_t* undos, std::uint32_t* redos) override {
        enterMain("Undo.Count");
        *undos = static_cast<std::uint32_t>(m_workspace->stepCount(Direction::reverse));
        *redos = static_cast<std::uint32_t>(m_workspace->stepCount(Direction::forward));
        return KZe_OK;
    }
    KzResult undoservice_NameByOffset(std::int32_t offset, const char** name) override {
        enterMain("Undo.NameByOffset");
        if (offset == 0) return KZe_OUTOFBOUNDS;
        const auto index = static_cast<std::size_t>(std::abs(static_cast<std::int64_t>(offset)) - 1);
        *name = kzLend(m_workspace->stepName(offset < 0 ? Direction::reverse : Direction::forward, index));
        return KZe_OK;
    }
    KzResult undoservice_Clear(std::uint32_t flags) override {
        enterMain("Undo.Clear");
        if ((flags & KZfUNDO_CLEAR_UNDO) != 0) m_workspace->clear(Direction::reverse);
        if ((flags & KZfUNDO_CLEAR_REDO) != 0) m_workspace->clear(Direction::forward);
        return KZe_OK;
    }
    bool undoservice_IsUndoing() override {
        enter("Undo.IsUndoing");
        return m_workspace->isUndoing();
    }

private:
    void enterMain(const char* operation) const {
        enter(operation);
        if (std::this_thread::get_id() != context()->mainThread)
            throw kzBecause(KZe_MAINTHREADONLY, operation, [] { return "the history belongs to the main thread"; });
    }
    static std::size_t stepsOf(std::int32_t steps) {
        if (steps < 0)
            throw kzBecause(KZe_INVALIDARG, "Undo", [&] { return "there are no " + std::to_string(steps) + " steps"; });
        return static_cast<std::size_t>(steps);
    }

    std::shared_ptr<CWorkspace> m_workspace;
};

}  // namespace

decltype(kzMakeUndoService) kzMakeUndoService = kzMakeService<CUndoService>;

}  // namespace kzhost
