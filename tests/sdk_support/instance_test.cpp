// Objects with several interfaces: spawning, queries, reference counts and sub-objects.
#include "tests/support/threads.h"

#include "kz/base/global_cache.h"
#include "kz/base/polymorph.h"

#include "kz/module.h"
#include "kz/thread.h"

#include <gtest/gtest.h>

#include <atomic>

namespace {

std::atomic<int> theLiving = 0;

// Has two interfaces of its own, and a third through a sub-object.
class CThing : public CKzImpl_TagDescription, public CKzImpl_NeedContext {
public:
    CThing() { ++theLiving; }
    ~CThing() override { --theLiving; }
    std::uint32_t tag_Count() override { return 7; }
};

// Asks its outer object for an interface when it is destroyed.
class CPart : public CKzImpl_Module {
public:
    ~CPart() override {
        const CKzUser_TagDescription owner(outer);
        EXPECT_EQ(owner.Count(), 7U);
    }
    IKzUnknown* outer = nullptr;
};

class CParts final : public CKzPolymorph<CPart> {
public:
    CParts() { append(kzMakeRecord<CKzIfc_Module<CPart>>()); }
    void spawned(void* object, IKzUnknown* /*slot*/) override { static_cast<CPart*>(object)->outer = outer; }
    IKzUnknown* outer = nullptr;
};

class CThings : public CKzPolymorph<CThing> {
public:
    CThings() {
        append(kzMakeRecord<CKzIfc_TagDescription<CThing>>());
        append(kzMakeRecord<CKzIfc_NeedContext<CThing>>());
        nameOnce("thing");
    }
    IKzUnknown* spawnSubObject(IKzUnknown* outer, const KzGuid& iid) override {
        ++asked;
        parts.outer = outer;
        return iid == KZu_MODULE ? parts.spawn() : nullptr;
    }
    CParts parts;
    int asked = 0;
};

KzResult query(IKzUnknown* object, const KzGuid* iid, void** found) { return object->QueryInterface(iid, found); }

}  // namespace

TEST(InstanceTest, AnswersForEachInterfaceAndCountsOnce) {
    CThings things;
    EXPECT_EQ(things.spawn(&KZu_THREADSERVICE), nullptr);
    EXPECT_EQ(theLiving, 0);
    const KzGuid* asked[] = {nullptr, &KZu_UNKNOWN, &KZu_TAGDESCRIPTION, &KZu_NEEDCONTEXT};
    for (const KzGuid* iid : asked) {
        IKzUnknown* first = things.spawn(iid);
        ASSERT_NE(first, nullptr);
        EXPECT_EQ(theLiving, 1);
        EXPECT_EQ(kzLiveInstanceCount(), 1U);
        EXPECT_EQ(kzLiveInstanceNames(), "thing x1 ");
        void* second = nullptr;
        EXPECT_EQ(query(first, &KZu_NEEDCONTEXT, &second), kzOk);
        void* unknown = nullptr;
        EXPECT_EQ(query(static_cast<IKzUnknown*>(second), &KZu_UNKNOWN, &unknown), kzOk);
        void* tags = nullptr;
        EXPECT_EQ(query(first, &KZu_TAGDESCRIPTION, &tags), kzOk);
        EXPECT_EQ(unknown, tags);  // one identity, whichever way it is asked
        void* none = first;
        EXPECT_EQ(query(first, &KZu_THREADSERVICE, &none), kzNoInterface);
        EXPECT_EQ(none, nullptr);
        EXPECT_EQ(query(first, &KZu_UNKNOWN, nullptr), kzFailedCode);
        EXPECT_EQ(first->AddRef(), 5U);
        for (std::uint32_t left = 4; left > 0; --left) EXPECT_EQ(first->Release(), left);
        EXPECT_TRUE(things.hasInstances());
        EXPECT_EQ(static_cast<IKzUnknown*>(tags)->Release(), 0U);
        EXPECT_FALSE(things.hasInstances());
    }
    EXPECT_EQ(theLiving, 0);
    EXPECT_EQ(kzLiveInstanceCount(), 0U);
}

TEST(InstanceTest, MakesEachSubObjectOnceAndTakesItAlong) {
    CThings things;
    {
        CKzLoc_Unknown held;
        *held.out() = things.spawn();
        const CKzUser_Module first(held.raw());
        const CKzUser_Module second(held.raw());
        EXPECT_EQ(first.raw(), second.raw());
        EXPECT_EQ(things.asked, 1);
        EXPECT_EQ(kzLiveInstanceCount(), 2U);
        EXPECT_FALSE(CKzUser_ThreadMutex(held.raw()));
    }
    EXPECT_EQ(kzLiveInstanceCount(), 0U) << kzLiveInstanceNames();
    EXPECT_EQ(theLiving, 0);
}

TEST(InstanceTest, MayBeSharedBetweenThreads) {
    CThings things;
    CKzLoc_Unknown held;
    *held.out() = things.spawn();
    onThreads(4, 2000, [&](int) {
        const CKzUser_NeedContext context(held.raw());
        CKzLoc_Unknown own;
        *own.out() = things.spawn(&KZu_NEEDCONTEXT);
        const CKzUser_TagDescription tags(own.raw());
        EXPECT_TRUE(context && tags);
    });
    EXPECT_EQ(kzLiveInstanceCount(), 1U);
    held.clear();
    EXPECT_EQ(theLiving, 0);
}

TEST(LocalizedTest, HoldsOneReferenceWhateverItIsGiven) {
    CThings things;
    IKzUnknown* object = things.spawn();
    {
        CKzUser_TagDescription tags;
        IKzUnknown* out = nullptr;
        EXPECT_EQ(tags.get(&out), kzNotFound);
        EXPECT_TRUE(tags.set(object));
        EXPECT_TRUE(tags.set(tags.raw()));  // alive only through itself
        CKzUser_TagDescription copy;
        copy.copy(tags);
        EXPECT_EQ(copy.raw(), tags.raw());
        CKzUser_ThreadMutex wrong;
        EXPECT_FALSE(wrong.take(things.spawn()));
        EXPECT_FALSE(copy.take(nullptr));
        EXPECT_FALSE(copy);
        EXPECT_EQ(tags.get(&out), kzOk);
        out->Release();
    }
    EXPECT_EQ(object->Release(), 0U);
    EXPECT_EQ(theLiving, 0);
}
