// What the documents of one host share: the lock, the history, and who hears of changes.
#include "host/document/workspace.h"

#include "host/core/reasons.h"
#include "host/document/item_keeper.h"

#include "kz/result.h"
#include "kz/undo.h"

#include <new>
#include <set>
#include <utility>

namespace kzhost {

namespace {

thread_local int theUnchanged = 0;

}  // namespace

CUnchanged::CUnchanged() noexcept { ++theUnchanged; }
CUnchanged::~CUnchanged() { --theUnchanged; }

CWorkspace::CHold::CHold(CWorkspace& workspace) : m_workspace(workspace) {
    workspace.m_mutex.lock();
    ++workspace.m_depth;
}

CWorkspace::CHold::~CHold() {
    DocumentEvents events;
    const auto keepAlive = m_workspace.weak_from_this().lock();
    if (--m_workspace.m_depth == 0) events.swap(m_workspace.m_events);
    m_workspace.m_mutex.unlock();
    m_delay.reset();
    m_workspace.tellAll(events);
}

// The caller's CHold must be the only one.
template <class Call> void CWorkspace::unlocked(const Call& call) {
    DocumentEvents events;
    events.swap(m_events);
    --m_depth;
    m_mutex.unlock();
    const CReasonDelay::Pause pause;
    const auto lockAgain = [this] {
        m_mutex.lock();
        ++m_depth;
    };
    try {
        tellAll(events);
        call();
    } catch (...) {
        lockAgain();
        throw;
    }
    lockAgain();
}

void CWorkspace::setSink(DocumentSink sink) {
    const std::lock_guard lock(m_sinkMutex);
    m_sink = std::make_shared<const DocumentSink>(std::move(sink));
}

void CWorkspace::tell(const DocumentEvent& event) const noexcept {
    std::shared_ptr<const DocumentSink> sink;
    {
        const std::lock_guard lock(m_sinkMutex);
        sink = m_sink;
    }
    try {
        if (m_keeper != nullptr) m_keeper->tell(event);
        if (sink != nullptr && *sink) (*sink)(event);
    } catch (...) {  // nobody's change fails because of a listener
        kzBecause(KZe_FAILED, "Document", [] { return "a listener of changes failed"; });
    }
}

// Those of which so much changed that listeners hear of it beforehand and may wait for the end. Where there is no memory for
// that, they hear of each change alone.
static std::set<CDocument*> documentsWithManyChanges(const DocumentEvents& events) noexcept {
    constexpr std::size_t many = 100;
    if (events.size() < many) return {};
    try {
        std::set<CDocument*> documents;
        for (const DocumentEvent& event : events)
            if (event.document != nullptr) documents.insert(event.document);
        return documents;
    } catch (const std::bad_alloc&) {
        return {};
    }
}

// Called by destructors.
void CWorkspace::tellAll(const DocumentEvents& events) const noexcept {
    const std::set<CDocument*> documents = documentsWithManyChanges(events);
    for (CDocument* document : documents) tell({.kind = DocumentEvent::Kind::batchBegin, .document = document});
    for (const DocumentEvent& event : events) tell(event);
    for (CDocument* document : documents) tell({.kind = DocumentEvent::Kind::batchEnd, .document = document});
    // For those who only want to know that something has changed, however much it was.
    if (!events.empty()) tell({.kind = DocumentEvent::Kind::batchEnd});
}

std::shared_ptr<CDocument> CWorkspace::open(std::string name) {
    return std::make_shared<CDocument>(*this, std::move(name));
}

void CWorkspace::close(CDocument& document) {
    const CHold hold(*this);
    if (!document.isOpen()) return;
    document.object.reset();
    m_history.forget(document);
    std::erase_if(m_geometry, [&](const auto& each) { return &each.item->document == &document; });
    std::erase_if(m_events, [&](const DocumentEvent& event) { return event.document == &document; });
    try {
        m_selection.forget(document, m_events);
    } catch (...) {  // it is closed all the same
        document.close();
        throw;
    }
    document.close();
    historyChanged();
}

void CWorkspace::setModified(CDocument& document, bool modified) {
    const CHold hold(*this);
    if (modified == document.isModified()) return;
    document.m_savedRevision = modified ? ++m_lastRevision : document.m_revision;
    m_events.push_back({.kind = DocumentEvent::Kind::modified, .document = &document, .first = modified});
}

void CWorkspace::setModuleName(Item& item, std::string name) {
    const CHold hold(*this);
    if (!item.isPresent || item.modules.name == name) return;
    CDocument& document = item.document;
    document.m_names.leave(item);
    item.modules.name = std::move(name);
    document.m_names.enter(item, item.number);
    m_events.push_back({.kind = DocumentEvent::Kind::renamed,
                        .document = &document,
                        .item = item.shared_from_this(),
                        .text = item.name});
    document.changed(m_events, m_events.size() - 1);
}

void CWorkspace::forget(CDocument& document) {
    const CHold hold(*this);
    keepGeometry();
    m_history.forget(document);
    historyChanged();
}

// Undoing does not take the name of the file back: that is where the document is now.
void CWorkspace::setSaved(CDocument& document, std::uint64_t revision, std::string path) {
    const CHold hold(*this);
    const bool wasModified = document.isModified();
    document.m_savedRevision = revision;
    if (document.m_filename != path) {
        document.m_filename = std::move(path);
        m_events.push_back({.kind = DocumentEvent::Kind::filename, .document = &document, .text = document.m_filename});
    }
    if (wasModified != document.isModified())
        m_events.push_back(
            {.kind = DocumentEvent::Kind::modified, .document = &document, .first = document.isModified()});
}

// Other threads wait for the end of undoing by asking again: they may hold what the change of a module waits for.
void CWorkspace::refuseWhileMoving() const {
    if (theUnchanged > 0)
        throw kzBecause(KZe_NOTREADY, "Document",
                        [] { return "an item comes back by undoing as it was, so nothing may change meanwhile"; });
    if (m_moving == Moving::no || isOwnChange()) return;
    throw kzBecause(KZe_NOTREADY, "Document",
                    [] { return "steps are being undone or redone, so nothing else may change"; });
}

bool CWorkspace::isOwnChange() const { return m_foreign > 0 && m_mover == std::this_thread::get_id(); }

std::uint32_t CWorkspace::state() const {
    const CReading reading(*this);
    switch (m_moving) {
    case Moving::undoing: return KZiUNDO_STATE_UNDOING;
    case Moving::redoing: return KZiUNDO_STATE_REDOING;
    case Moving::no: break;
    }
    return m_history.isSuspended() ? KZiUNDO_STATE_SUSPENDED : KZiUNDO_STATE_ACTIVE;
}

bool CWorkspace::isUndoing() const {
    const CReading reading(*this);
    return m_moving != Moving::no;
}

// To tell of a change is best effort where it has been made and cannot be taken back, as at the end of a block.
void CWorkspace::historyChanged() {
    try {
        m_events.push_back({.kind = DocumentEvent::Kind::history});
    } catch (const std::bad_alloc&) {
        return;
    }
}

void CWorkspace::beginBlock(std::string name, std::uint32_t flags) {
    const CHold hold(*this);
    refuseWhileMoving();
    keepGeometry();
    if (!m_history.inBlock()) tellLocked(true);
    m_history.beginBlock(std::move(name), flags);
}

void CWorkspace::tellLocked(bool isLocked) {
    try {
        m_events.push_back({.kind = DocumentEvent::Kind::undoLocked, .first = isLocked});
    } catch (const std::bad_alloc&) {
        return;
    }
}

void CWorkspace::endBlock() {
    const CHold hold(*this);
    keepGeometry();
    if (!m_history.inBlock()) throw kzBecause(KZe_NOTAVAILABLE, "Undo.BlockEnd", [] { return "no block is open"; });
    if (m_history.endBlock()) historyChanged();
    if (!m_history.inBlock()) tellLocked(false);
}

void CWorkspace::discardBlock() {
    const CHold hold(*this);
    if (!m_history.inBlock()) throw kzBecause(KZe_NOTAVAILABLE, "Undo.BlockDiscard", [] { return "no block is open"; });
    refuseWhileMoving();
    keepGeometry();
    ChangeList changes = m_history.discardBlock();
    m_moving = Moving::undoing;
    try {
        applyAll(changes, Direction::reverse);
    } catch (...) {  // what was done is still there, so it has to stay in the history
        m_moving = Moving::no;
        if (!m_history.inBlock()) tellLocked(false);
        keep(std::move(changes));
        throw;
    }
    m_moving = Moving::no;
    if (!m_history.inBlock()) tellLocked(false);
}

std::size_t CWorkspace::blockDepth() const {
    const CReading reading(*this);
    return m_history.blockDepth();
}

void CWorkspace::endBlocksAbove(std::size_t depth) {
    const CHold hold(*this);
    keepGeometry();
    const bool wasInBlock = m_history.inBlock();
    while (m_history.blockDepth() > depth)
        if (m_history.endBlock()) historyChanged();
    if (wasInBlock && !m_history.inBlock()) tellLocked(false);
}

void CWorkspace::suspend(bool on) {
    const CReading reading(*this);
    m_history.suspend(on);
}

std::size_t CWorkspace::stepCount(Direction direction) {
    const CHold hold(*this);
    keepGeometry();
    return m_history.count(direction);
}

std::string CWorkspace::stepName(Direction direction, std::size_t index) {
    const CHold hold(*this);
    keepGeometry();
    const UndoStep* step = m_history.step(direction, index);
    if (step == nullptr) throw KZe_OUTOFBOUNDS;
    return step->name;
}

void CWorkspace::clear(Direction direction) {
    const CHold hold(*this);
    refuseWhileMoving();
    m_history.clear(direction);
    historyChanged();
}

void CWorkspace::setLimits(std::size_t steps, std::size_t bytes) {
    const CHold hold(*this);
    m_history.setLimits(steps, bytes);
}

// A step that does not go through stays where it was.
void CWorkspace::move(Direction direction, std::size_t steps) {
    const CHold hold(*this);
    refuseWhileMoving();
    keepGeometry();
    const char* place = direction == Direction::reverse ? "Undo.Undo" : "Undo.Redo";
    if (m_depth > 1 || m_history.inBlock())
        throw kzBecause(KZe_NOTAVAILABLE, place, [] { return "a block is open; end it first"; });
    if (steps > m_history.count(direction))
        throw kzBecause(KZe_NOTAVAILABLE, place, [&] {
            return std::to_string(steps) + " steps are wanted; there are " + std::to_string(m_history.count(direction));
        });
    for (; steps > 0; --steps) {
        auto taken = m_history.take(direction);
        if (!taken)
            throw kzBecause(KZe_NOTAVAILABLE, place,
                            [] { return "the steps are gone, as a listener has closed their scene"; });
        UndoStep step = std::move(*taken);
        m_moving = direction == Direction::reverse ? Moving::undoing : Moving::redoing;
        try {
            applyAll(step.changes, direction);
        } catch (...) {
            m_moving = Moving::no;
            m_history.put(direction, std::move(step));
            throw;
        }
        m_moving = Moving::no;
        m_history.put(opposite(direction), std::move(step));
        historyChanged();
    }
}

// All of them or, after a failure, none.
void CWorkspace::applyAll(ChangeList& changes, Direction direction) {
    m_mover = std::this_thread::get_id();
    const auto change = [&](std::size_t i) -> CChange& {
        return *changes[direction == Direction::forward ? i : changes.size() - 1 - i];
    };
    std::size_t done = 0;
    try {
        for (; done < changes.size(); ++done) applyOne(change(done), direction);
    } catch (...) {
        while (done > 0) applyOne(change(--done), opposite(direction));
        throw;
    }
}

void CWorkspace::applyOne(CChange& change, Direction direction) {
    if (change.isForeign()) return applyForeign(change, direction);
    DocumentEvents before;
    change.announce(direction, before);
    if (!before.empty()) unlocked([&] { tellAll(before); });
    apply(change, direction, m_events);
}

void CWorkspace::apply(CChange& change, Direction direction, DocumentEvents& events) {
    const std::size_t first = events.size();
    change.apply(direction, events);
    if (CDocument* document = change.document()) document->changed(events, first);
}

void CWorkspace::applyForeign(CChange& change, Direction direction) {
    m_mover = std::this_thread::get_id();
    ++m_foreign;
    try {
        unlocked([&] {
            DocumentEvents none;
            change.apply(direction, none);
        });
    } catch (...) {
        --m_foreign;
        throw;
    }
    --m_foreign;
}

void CWorkspace::record(std::unique_ptr<CChange> change) {
    const CHold hold(*this);
    refuseWhileMoving();
    keepGeometry();
    ChangeList changes;
    changes.push_back(std::move(change));
    keep(std::move(changes));
}

void CWorkspace::make(std::unique_ptr<CChange> change) {
    const CHold hold(*this);
    refuseWhileMoving();
    if (m_depth > 1) throw KZe_NOTREADY;
    applyOne(*change, Direction::forward);
    ChangeList changes;
    changes.push_back(std::move(change));
    keep(std::move(changes));
}

void CWorkspace::noteGeometry(const ItemRef& item) {
    const CHold hold(*this);
    m_geometry.push_back({item, std::this_thread::get_id()});
}

// What another thread is changing is left to that thread.
void CWorkspace::keepGeometry() {
    std::vector<ItemRef> items;
    std::erase_if(m_geometry, [&](const ChangedGeometry& each) {
        if (each.thread != std::this_thread::get_id()) return false;
        items.push_back(each.item);
        return true;
    });
    for (const ItemRef& item : items) {
        auto* geometry = dynamic_cast<RecordedGeometry*>(item->geometry.get());
        auto change = geometry != nullptr ? geometry->takeChange(item) : nullptr;
        if (change == nullptr) continue;
        m_events.push_back({.kind = DocumentEvent::Kind::geometry, .document = &item->document, .item = item});
        item->document.changed(m_events, m_events.size() - 1);
        ChangeList changes;  // undone from the end: the elements are back before they are selected again
        m_selection.dropLostElements(*item, changes, m_events);
        changes.push_back(std::move(change));
        keep(std::move(changes));
    }
}

void CWorkspace::keep(ChangeList changes) {
    if (isOwnChange()) return;
    const bool isStep = !m_history.inBlock();
    m_history.record(std::move(changes));
    if (isStep) historyChanged();
}

}  // namespace kzhost
