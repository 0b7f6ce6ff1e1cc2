// The wrappers of the whole SDK. The scripts beside this file hold the cases; here stands what has to come of them.
#include "tests/wrap/recorder.h"
#include "tests/wrap/recording_host.h"

#include "wrap/registration.h"
#include "wrap/result_codes.h"

#include "kz/result.h"

namespace {

struct Registered {
    long types = 0;
    long methods = 0;
};

// What there is to test, by the tables that the types are made from.
Registered registered() {
    Registered sum;
    const auto add = [&sum](const KzWrapperType& row) {
        ++sum.types;
        for (const PyMethodDef* method = row.methods; method->ml_name != nullptr; ++method) ++sum.methods;
    };
    for (const KzHeaderRows* header : kzHeaders) {
        for (const KzWrapperType* row : header->objects) add(*row);
        for (const KzWrapperType* row : header->services) add(*row);
        sum.methods -= 5 * static_cast<long>(header->objects.size());  // those that every object type has
    }
    return sum;
}

class AllMethods : public RecordingTest {
protected:
    void runOnAll(const char* function, long leastCalls) {
        auto counts = run("all_methods", function);
        EXPECT_EQ(counts["types"], registered().types);
        EXPECT_EQ(counts["methods"], registered().methods);
        EXPECT_GE(counts["calls"], leastCalls * counts["methods"]);
    }
};

TEST_F(AllMethods, CarryEveryKindBothWays) { runOnAll("carry", 2); }
TEST_F(AllMethods, FailAsTheyShould) { runOnAll("fail", 10); }

TEST_F(RecordingTest, PlainArgumentsAreReadAsTheParserReadsThem) {
    auto counts = run("lanes", "compare");
    EXPECT_GT(counts["methods"], 1000);
    EXPECT_GT(counts["comparisons"], 20 * counts["methods"]);
}

TEST_F(RecordingTest, HarmfulArgumentsDoNoHarm) { EXPECT_GT(run("hostile", "survive")["checks"], 50); }

TEST_F(RecordingTest, TypesHoldTheirObjects) {
    auto counts = run("wrapper_types", "hold");
    EXPECT_GT(counts["checks"], 20 * registered().types);
    EXPECT_EQ(counts["objects"], 343);
    EXPECT_EQ(counts["services"], 50);
    EXPECT_EQ(counts["results"], 172);
    EXPECT_GT(counts["symbols"], 5000);
    // Of the names that share a code the last one registered stands.
    EXPECT_STREQ(kzResultName(0), "OK");
    EXPECT_STREQ(kzResultName(KZe_ABORT), "ABORT");
}

}  // namespace
