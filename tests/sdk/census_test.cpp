// What the description holds as a whole: every type, service, adapter and result code by name, constants and methods
// by number. A name that is lost here is lost to every script that uses it.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <map>

#include "gen/census.h"
#include "gen/sha1.h"
#include "tests/sdk/described.h"

namespace kzgen {

namespace {

const Census& census() {
    static const Census taken = takeCensus(described());
    return taken;
}

// Names, each on a line, by the hash of them all: one that is missing, new or misspelt changes it. A failure shows what
// there is, which an earlier commit's description tells apart.
void expectNames(std::vector<std::string> names, size_t count, const std::string& hash) {
    std::sort(names.begin(), names.end());
    std::string all;
    for (const std::string& name : names) all += name + "\n";
    EXPECT_EQ(names.size(), count);
    EXPECT_EQ(toHex(sha1(all)), hash) << all;
}

size_t inertOf(Inert inert) {
    size_t sum = 0;
    for (const AdapterCensus& adapter : census().adapters) {
        const auto found = adapter.inert.find(inert);
        sum += found == adapter.inert.end() ? 0 : found->second;
    }
    return sum;
}

}  // namespace

TEST(Census, HasEveryNamedTypeServiceAndResultCode) {
    expectNames(census().types, 343, "35750265a01c39afe0c807908ba86547b58d1ce9");
    expectNames(census().services, 50, "72fe679bc022e2df8dc5f53d94fa5885ddc07080");
    expectNames(census().resultCodes, 172, "5535dc85c8f9092ad2e08eedaf6e2f23126ccc1f");
}

TEST(Census, AdaptersForwardUnderTheirPrefixes) {
    std::vector<std::string> adapters;
    size_t forwarded = 0;
    for (const AdapterCensus& adapter : census().adapters) {
        const std::string inert = adapter.inertTotal() == 0 ? "" : "+" + std::to_string(adapter.inertTotal());
        adapters.push_back(adapter.name + ":" + adapter.prefix + ":" + std::to_string(adapter.forwarded) + inert);
        forwarded += adapter.forwarded;
    }
    expectNames(adapters, 205, "085aa8d4bde33aba686a52420ce75b8b63aba292");
    EXPECT_EQ(forwarded, 1328U);
    EXPECT_EQ(inertOf(Inert::NotImplemented), 54U);
    EXPECT_EQ(inertOf(Inert::Zero), 8U);
    EXPECT_EQ(inertOf(Inert::Nothing), 5U);
}

TEST(Census, ConstantsByFamily) {
    const std::map<std::string, size_t> required = {
        {"s", 1886}, {"i", 821}, {"u_", 531}, {"f", 517}, {"a_", 321}, {"i_", 310}, {"s_", 281}, {"f_", 172},
        {"e_", 128}, {"e", 76},  {"m", 29},   {"v", 10},  {"m_", 8},   {"a", 4},    {"v_", 3},   {"d", 1}};
    EXPECT_EQ(census().constants, required);
}

TEST(Census, MethodsAndTheirArgumentsStayNearTheirNumbers) {
    EXPECT_NEAR(double(census().methods), 3400, 50);
    EXPECT_NEAR(double(census().plainValueMethods), 720, 20);
    EXPECT_EQ(census().methods + census().hostMethods, 3556U);
    EXPECT_EQ(census().voidMethods, 177U);
    EXPECT_EQ(census().interfaces, 362U);
    const std::map<std::string, size_t> returns = {
        {"boolean", 184}, {"bounds", 18},    {"data[]", 4},    {"float", 223},    {"float[]", 7},
        {"hints", 4},     {"id", 60},        {"integer", 711}, {"matrix", 38},    {"object", 491},
        {"pointer", 37},  {"quaternion", 2}, {"string", 381},  {"unsigned[]", 2}, {"vector", 188}};
    EXPECT_EQ(census().returns, returns);
    const std::map<std::string, size_t> required = {
        {"integer i", 739}, {"integer I", 733},  {"integer n", 6},    {"string z", 528}, {"string (a GUID) O", 13},
        {"float d", 261},   {"float f", 40},     {"object O", 832},   {"vector O", 223}, {"matrix O", 30},
        {"bounds O", 3},    {"quaternion O", 1}, {"id n", 105},       {"pointer n", 59}, {"float[] O", 34},
        {"double[] O", 8},  {"int[] O", 5},      {"unsigned[] O", 5}, {"byte[] O", 16},  {"id[] O", 5},
        {"data[] O", 14},   {"hints O", 5},      {"blocks O", 4}};
    for (const auto& [kind, number] : required) {
        const auto found = census().parameters.find(kind);
        ASSERT_NE(found, census().parameters.end()) << kind;
        EXPECT_NEAR(double(found->second), double(number), std::ceil(0.15 * double(number))) << kind;
    }
    EXPECT_EQ(census().parameters.size(), required.size());
}

}  // namespace kzgen
