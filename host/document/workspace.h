// What the documents of one host share: the lock, the history, and who hears of changes.
//
// Every reader and writer holds the lock, for a moment: never while it calls a listener, a module or Python, each of
// which may want another lock. What is to be told is kept until the outermost edit of the thread has let go of the lock, and
// is then told on that thread, in order. While steps are undone or redone, a change that belongs to a module is applied with the
// lock released; until the step is done, other threads cannot change anything and get NOTREADY.
#pragma once

#include "host/core/reason_delay.h"
#include "host/document/document.h"
#include "host/document/selection.h"
#include "host/document/undo_history.h"

#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

namespace kzhost {

class ItemKeeper;
class ModifierSource;

class CWorkspace : public std::enable_shared_from_this<CWorkspace> {
public:
    std::shared_ptr<CDocument> open(std::string name);
    // Removes everything. Items that are still referenced have no document any more.
    void close(CDocument& document);

    // Whether there are changes that a save would keep.
    void setModified(CDocument& document, bool modified);
    // The document was saved as it was at that revision, and in that file from now on.
    void setSaved(CDocument& document, std::uint64_t revision, std::string path);
    // Whatever was done to the document is no step of the history any more.
    void forget(CDocument& document);

    // Called for each event, without the lock.
    void setSink(DocumentSink sink);
    // Who completes new items; set once, while the host is made.
    void setItemKeeper(std::shared_ptr<ItemKeeper> keeper) { m_keeper = std::move(keeper); }
    const std::shared_ptr<ItemKeeper>& itemKeeper() const noexcept { return m_keeper; }
    // What a module calls an item while the user gives it no name. It is no step of the history.
    void setModuleName(Item& item, std::string name);
    // Tells an event of which others must hear before it happens. The caller must not hold the lock.
    void tell(const DocumentEvent& event) const noexcept;

    // The history. Blocks may be opened by any thread; a step is undone and redone by one thread at a time.
    std::uint32_t state() const;  // iUNDO_STATE
    bool isUndoing() const;
    void beginBlock(std::string name, std::uint32_t flags);
    void endBlock();      // throws NOTAVAILABLE if no block is open
    void discardBlock();  // throws NOTAVAILABLE if no block is open
    std::size_t blockDepth() const;
    // Closes the blocks that were opened since there were that many, as one that raises leaves them open.
    void endBlocksAbove(std::size_t depth);
    void suspend(bool on);
    // Throws NOTAVAILABLE if there are fewer steps or while a block is open.
    void undo(std::size_t steps) { move(Direction::reverse, steps); }
    void redo(std::size_t steps) { move(Direction::forward, steps); }
    std::size_t stepCount(Direction direction);
    std::string stepName(Direction direction, std::size_t index);  // throws OUTOFBOUNDS
    void clear(Direction direction);
    void setLimits(std::size_t steps, std::size_t bytes);
    // Records a change of a module's that has been made; or makes it and records it. What it changes in documents while it
    // is applied is its own matter, and is not recorded besides.
    void record(std::unique_ptr<CChange> change);
    void make(std::unique_ptr<CChange> change);

    // Under the lock.
    CSelection& selection() noexcept { return m_selection; }
    const CSelection& selection() const noexcept { return m_selection; }
    // Who makes the modifiers of modules; without one there are none.
    void setModifierSource(std::shared_ptr<ModifierSource> source) { m_modifiers = std::move(source); }
    const std::shared_ptr<ModifierSource>& modifierSource() const noexcept { return m_modifiers; }

    // Who writes documents into files: in that format, or the one of the path's extension.
    using Writer = std::function<KzResult(CDocument& document, const char* path, const char* format)>;
    void setWriter(Writer writer) { m_writer = std::move(writer); }
    const Writer& writer() const noexcept { return m_writer; }

    // The geometry of the item begins to differ from what the history has of it. It is recorded with what comes next: the next
    // edit by this thread, the end of the block, or a look at the history.
    void noteGeometry(const ItemRef& item);

private:
    friend class CReading;
    friend class CEdit;

    // Holds the lock; the outermost one of a thread tells the events when it goes.
    class CHold {
    public:
        explicit CHold(CWorkspace& workspace);
        CHold(const CHold&) = delete;
        CHold& operator=(const CHold&) = delete;
        ~CHold();

    private:
        std::optional<CReasonDelay> m_delay{std::in_place};
        CWorkspace& m_workspace;
    };
    // Lets go of the lock for a moment, after telling what has happened up to then.
    template <class Call> void unlocked(const Call& call);
    void tellAll(const DocumentEvents& events) const noexcept;
    void refuseWhileMoving() const;
    bool isOwnChange() const;
    void move(Direction direction, std::size_t steps);
    void applyAll(ChangeList& changes, Direction direction);
    static void apply(CChange& change, Direction direction, DocumentEvents& events);
    void applyOne(CChange& change, Direction direction);
    void applyForeign(CChange& change, Direction direction);
    void historyChanged();
    void tellLocked(bool isLocked);
    void keep(ChangeList changes);
    void keepGeometry();

    mutable std::recursive_mutex m_mutex;
    int m_depth = 0;
    DocumentEvents m_events;
    CSelection m_selection;
    CUndoHistory m_history;
    enum class Moving { no, undoing, redoing } m_moving = Moving::no;
    int m_foreign = 0;  // changes of modules that are being applied
    std::thread::id m_mover;
    mutable std::mutex m_sinkMutex;
    std::shared_ptr<const DocumentSink> m_sink;
    std::uint64_t m_lastRevision = 0;
    std::shared_ptr<ItemKeeper> m_keeper;
    std::shared_ptr<ModifierSource> m_modifiers;  // set once, while the host is made
    Writer m_writer;                              // as above
    struct ChangedGeometry {
        ItemRef item;
        std::thread::id thread;
    };
    std::vector<ChangedGeometry> m_geometry;
};

// While it lives, whatever its thread wants to change in documents is refused: NOTREADY.
class CUnchanged {
public:
    CUnchanged() noexcept;
    CUnchanged(const CUnchanged&) = delete;
    CUnchanged& operator=(const CUnchanged&) = delete;
    ~CUnchanged();
};

// Keeps documents as they are while it lives. Short: nobody is called meanwhile.
class CReading {
public:
    explicit CReading(const CWorkspace& workspace) : m_lock(workspace.m_mutex) {}

private:
    CReasonDelay m_delay;  // outlives the lock
    std::unique_lock<std::recursive_mutex> m_lock;
};

}  // namespace kzhost
