// Work that is cut into parts.
//
// The parts are done one after the other on the calling thread. That thread may hold a lock which the work needs: while Python
// calls the host it holds the interpreter's, and work in Python on another thread would wait for it for ever.
#include "host/services/shared_work.h"

#include "host/core/object.h"
#include "host/core/reasons.h"

#include "kz/base/object_output.h"
#include "kz/result.h"
#include "kz/thread.h"

#include <fmt/format.h>

#include <algorithm>
#include <bit>
#include <cstddef>
#include <deque>
#include <thread>

namespace kzhost {

namespace {

thread_local int theNesting = 0;  // how often work has begun other work here

constexpr std::uint32_t partsPerProcessor = 4;       // so that a failure is noticed early
constexpr std::uint32_t mostItemsOfAList = 1000000;  // of a list that never ends

constexpr int deepestNesting = 32;  // of work that begins itself again

class CNesting {
public:
    explicit CNesting(const char* place) {
        if (theNesting == deepestNesting)
            throw kzBecause(KZe_FAILED, place, [] {
                return fmt::format("work has begun other work {} times, one inside the other", deepestNesting);
            });
        ++theNesting;
    }
    CNesting(const CNesting&) = delete;
    CNesting& operator=(const CNesting&) = delete;
    ~CNesting() { --theNesting; }
};

// Work that other work begins is not cut any further.
std::uint32_t shareCount() { return theNesting > 1 ? 1 : kzProcessorCount(); }

// Returns the first failure, after which no part is begun.
template <class DoPart> KzResult doParts(std::size_t count, const DoPart& doPart) {
    for (std::size_t part = 0; part < count; ++part)
        if (const KzResult code = doPart(part); kzFailed(code)) return code;
    return KZe_OK;
}

// Share `index` has its work from this one, so that all have about the same: 1 and 2 from 0, 3 from 1, 4 from 0, ...
std::size_t giverOf(std::size_t index) { return index - std::bit_floor(index); }

using Shares = std::deque<CKzUser_SharedWork>;

// False where the work cannot be shared any further.
bool addShare(Shares& shares) {
    const std::size_t index = shares.size();
    CKzLoc_Unknown object;
    if (kzFailed(kzTakeOutput(object, [&](IKzUnknown** output) { return shares.front()->Spawn(output); })))
        return false;
    CKzUser_SharedWork share(object.raw());
    const bool isKnown = std::ranges::any_of(shares, [&](const auto& each) { return each.raw() == share.raw(); });
    if (!share || isKnown) {
        kzBecause(KZe_INVALIDARG, "SharedWork.Spawn", [&] {
            return share ? "it returns a worker that has a share already, so it gets no other"
                         : "it returns an object without the interface SharedWork, so there are no more workers";
        });
        return false;
    }
    if (kzFailed(share->Share(shares[giverOf(index)].raw(), KZiSHARE_SPLIT))) return false;
    shares.emplace_back().copy(share);
    return true;
}

// Whatever was given away comes back, after a failure as well.
KzResult doShares(const CKzUser_SharedWork& whole) {
    Shares shares;
    shares.emplace_back().copy(whole);
    const std::uint32_t most = shareCount();
    while (shares.size() < most && addShare(shares)) {
    }
    KzResult verdict = doParts(shares.size(), [&](std::size_t index) { return shares[index]->Evaluate(); });
    for (std::size_t index = shares.size(); --index > 0;) {
        const KzResult code = shares[giverOf(index)]->Share(shares[index].raw(), KZiSHARE_MERGE);
        if (kzSucceeded(verdict)) verdict = code;
    }
    return verdict;
}

KzResult doItem(IKzUnknown* item) {
    if (const CKzUser_SharedWork work(item); work) return work->Evaluate();
    const CKzUser_ThreadJob job(item);
    if (!job)
        return kzBecause(KZe_INVALIDARG, "WorkList.Next", [] {
            return "the item has neither the interface ThreadJob nor SharedWork, so nothing can be done with it";
        });
    job->Execute();
    return KZe_OK;
}

KzResult doList(const CKzUser_WorkList& list) {
    for (std::uint32_t count = 0; count < mostItemsOfAList; ++count) {
        CKzLoc_Unknown item;
        const KzResult code = kzTakeOutput(item, [&](IKzUnknown** output) { return list->Next(output); });
        if (code == KZe_NOTFOUND) return KZe_OK;
        if (kzFailed(code)) return code;
        if (const KzResult done = doItem(item.raw()); kzFailed(done)) return done;
    }
    return kzBecause(KZe_OUTOFBOUNDS, "WorkList.Next",
                     [] { return fmt::format("after {} items there is still another one", mostItemsOfAList); });
}

// After a failure, the lists are emptied, and what they hold is not done.
KzResult doLists(const CKzUser_WorkList& whole) {
    std::deque<CKzUser_WorkList> lists;
    lists.emplace_back().copy(whole);
    const std::uint32_t most = shareCount();
    while (lists.size() < most) {
        const CKzUser_WorkList& giver = lists[giverOf(lists.size())];
        CKzLoc_Unknown object;
        if (giver->IsEmpty() || kzFailed(kzTakeOutput(object, [&](IKzUnknown** rest) { return giver->Split(rest); })))
            break;
        CKzUser_WorkList rest(object.raw());
        if (!rest || std::ranges::any_of(lists, [&](const auto& each) { return each.raw() == rest.raw(); })) {
            kzBecause(KZe_INVALIDARG, "WorkList.Split", [] { return "it returns no list of its own"; });
            break;
        }
        lists.emplace_back().copy(rest);
    }
    const KzResult verdict = doParts(lists.size(), [&](std::size_t index) { return doList(lists[index]); });
    if (kzFailed(verdict))
        for (const CKzUser_WorkList& each : lists) each->Clear();
    return verdict;
}

}  // namespace

std::uint32_t kzProcessorCount() { return std::max(1U, std::thread::hardware_concurrency()); }

KzResult kzProcessRange(IKzUnknown* worker, IKzUnknown* shared, std::int32_t first, std::int32_t last) {
    if (shared == nullptr) shared = worker;  // a worker is never given nothing
    const CKzUser_ThreadRangeWorker asWorker(worker);
    if (!asWorker)
        return kzBecause(KZe_INVALIDARG, "Thread.ProcessRange",
                         [] { return "the worker is no object with the interface ThreadRangeWorker"; });
    if (last < first) return KZe_OK;
    const CNesting nesting("Thread.ProcessRange");
    const std::int64_t total = std::int64_t{last} - first + 1;
    const auto parts = std::min<std::int64_t>(total, std::int64_t{shareCount()} * partsPerProcessor);
    return doParts(static_cast<std::size_t>(parts), [&](std::size_t index) {
        const auto part = static_cast<std::int64_t>(index);
        return asWorker->Execute(static_cast<std::int32_t>(first + total * part / parts),
                                 static_cast<std::int32_t>(first + total * (part + 1) / parts - 1), shared);
    });
}

KzResult kzProcessShared(IKzUnknown* work) {
    const CNesting nesting("Thread.ProcessShared");
    if (const CKzUser_SharedWork whole(work); whole) return doShares(whole);
    if (const CKzUser_WorkList list(work); list) return doLists(list);
    return kzBecause(KZe_INVALIDARG, "Thread.ProcessShared",
                     [] { return "the work is no object with the interface SharedWork or WorkList"; });
}

}  // namespace kzhost
