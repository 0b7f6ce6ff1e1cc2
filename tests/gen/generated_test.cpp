// The generated classes at work: a call through a slot, what a failure becomes, and what an empty user object answers.
#include <gtest/gtest.h>

#include <stdexcept>
#include <string>

#include "kz/all.h"

namespace {

struct Values : CKzImpl_ValueArray {
    std::uint32_t va_Count() override {
        if (fails) throw KzResult{KZe_NOTREADY};
        return 3;
    }
    KzResult va_GetInt(std::uint32_t index, std::int32_t* value) override {
        if (index == 1) throw KzResult{KZe_OUTOFBOUNDS};
        if (index == 2) throw std::runtime_error("anything");
        if (index == 3) throw std::bad_alloc();
        if (index == 4) throw 5;
        *value = 42;
        return KZe_OK;
    }
    bool fails = false;
};

// A polymorph around one object, with the interface under test.
class Served : public CKzStaticPolymorph {
public:
    explicit Served(Values& values) : CKzStaticPolymorph(&values) { append(kzMakeRecord<CKzIfc_ValueArray<Values>>()); }
};

}  // namespace

TEST(GeneratedTest, CallsReachTheObjectAndNothingIsThrownBack) {
    Values values;
    Served served(values);
    CKzUser_ValueArray user;
    ASSERT_TRUE(user.take(served.spawn()));
    std::int32_t value = 0;
    EXPECT_EQ(user.Count(), 3U);
    EXPECT_EQ(user.GetInt(0, &value), KZe_OK);
    EXPECT_EQ(value, 42);
    const KzResult thrown[] = {KZe_OK, KZe_OUTOFBOUNDS, KZe_FAILED, KZe_OUTOFMEMORY, KZe_FAILED};
    for (std::uint32_t index : {1, 2, 3, 4}) EXPECT_EQ(user.GetInt(index, &value), thrown[index]) << index;
    EXPECT_EQ(user.AddInt(1), KZe_NOTIMPL) << "the default of an operation that the class leaves out";
    values.fails = true;
    EXPECT_EQ(user.Count(), 0U) << "a plain value is zero, not the thrown code";
    user.clear();
    EXPECT_FALSE(served.hasInstances());
}

TEST(GeneratedTest, AnEmptyUserObjectHasNoInterface) {
    const CKzUser_ValueArray user;
    std::int32_t value = 7;
    EXPECT_EQ(user.GetInt(0, &value), KZe_NOINTERFACE);
    EXPECT_EQ(user.Count(), 0U);
    EXPECT_EQ(value, 7);
    const CKzUser_MessageService service;
    EXPECT_FALSE(service.test()) << "there is no host to ask";
}
