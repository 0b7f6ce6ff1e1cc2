// Changes of documents. A change is made, reversed and made again by one function, which exchanges what the document has
// with what the change keeps: whatever can be done can be undone, without code of its own for that.
#pragma once

#include "host/document/document_event.h"

#include <cstddef>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace kzhost {

struct SelectionPacket;

enum class Direction { forward, reverse };

constexpr Direction opposite(Direction direction) noexcept {
    return direction == Direction::forward ? Direction::reverse : Direction::forward;
}

class CChange {
public:
    explicit CChange(CDocument* document) : m_document(document) {}
    CChange(const CChange&) = delete;
    CChange& operator=(const CChange&) = delete;
    virtual ~CChange() = default;

    virtual void apply(Direction direction, DocumentEvents& events) = 0;
    // What listeners must hear before it is applied.
    virtual void announce(Direction /*direction*/, DocumentEvents& /*events*/) {}
    // A change of somebody else's is applied without the lock, because it calls foreign code.
    virtual bool isForeign() const { return false; }
    virtual std::size_t memory() const { return 0; }
    // Null for a change that belongs to no document.
    CDocument* document() const noexcept { return m_document; }

private:
    CDocument* m_document;
};

// Geometry of an item of which the history keeps what it was.
struct RecordedGeometry : ItemAttachment {
    // What has changed since the last time, as one change that has been made; null if nothing has.
    virtual std::unique_ptr<CChange> takeChange(const ItemRef& item) = 0;
    // Whether it has the element for which the packet stands, and the mark that shows it as selected.
    virtual bool hasElement(const SelectionPacket& packet) = 0;
    virtual void markElement(const SelectionPacket& packet, bool isSelected) = 0;
};

using ChangeList = std::vector<std::unique_ptr<CChange>>;

// The change that a function object makes: `exchange(direction, events)`.
template <class Exchange> class CExchange final : public CChange {
public:
    CExchange(CDocument* document, Exchange exchange) : CChange(document), m_exchange(std::move(exchange)) {}
    void apply(Direction direction, DocumentEvents& events) override { m_exchange(direction, events); }
    void announce(Direction direction, DocumentEvents& events) override {
        if constexpr (requires { m_exchange.announce(direction, events); }) m_exchange.announce(direction, events);
    }
    std::size_t memory() const override {
        if constexpr (requires { m_exchange.memory(); }) return sizeof *this + m_exchange.memory();
        else return sizeof *this;
    }

private:
    Exchange m_exchange;
};

// Where changes are made and recorded: an edit.
class CChanges {
public:
    CChanges() = default;
    CChanges(const CChanges&) = delete;
    CChanges& operator=(const CChanges&) = delete;

    // A change of another kind. `exchange(direction, events)` is called at once.
    template <class Exchange> void make(CDocument* document, Exchange exchange) {
        run(std::make_unique<CExchange<Exchange>>(document, std::move(exchange)));
    }
    // A change that is told, but not recorded: it stays when the edit goes without a commit.
    template <class Exchange> void apply(Exchange exchange) { exchange(Direction::forward, events()); }

protected:
    ~CChanges() = default;

private:
    virtual void run(std::unique_ptr<CChange> change) = 0;
    virtual DocumentEvents& events() = 0;
};

}  // namespace kzhost
