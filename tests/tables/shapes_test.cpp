// Envelopes, curves and rotations against shapes.json, which make_shapes.py has computed by other means.
#include "host/document/curve_shape.h"
#include "host/document/envelope.h"
#include "host/document/transform_values.h"
#include "kz_paths.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <fstream>
#include <random>
#include <string>

using namespace kzhost;
using nlohmann::json;

namespace {

json rowsOf(const char* part) {
    std::ifstream file(KZ_SOURCE_DIR "/tests/tables/shapes.json");
    return json::parse(file).at(part);
}

template <class Found>
void expectNear(const Found& found, const json& expected, double within, const std::string& what) {
    const json numbers = expected.is_array() ? expected.flatten() : json{{"", expected}};
    const auto* each = reinterpret_cast<const double*>(&found);
    ASSERT_EQ(numbers.size() * sizeof(double), sizeof(Found)) << what;
    // Flattened names are sorted as texts, which is the order of the indices below ten.
    for (const json& number : numbers) {
        const double value = number.get<double>();
        EXPECT_NEAR(*each++, value, within * std::max(1.0, std::abs(value))) << what;
    }
}

template <class Plain> Plain readPlain(const json& row) {
    Plain plain;
    auto* each = reinterpret_cast<double*>(&plain);
    for (const json& number : row.flatten()) *each++ = number.get<double>();
    return plain;
}

EnvelopeData envelopeOf(const json& row) {
    EnvelopeData data;
    for (const auto& key : row["keys"]) {
        const std::size_t index = data.add(key[0], key[1]);
        if (row["kind"] != "auto") data.setSlope(index, key[2], key[3], KZiENVSIDE_BOTH);
    }
    data.setEndBehavior(row["behavior"], KZiENVSIDE_BOTH);
    return data;
}

TEST(ShapesTest, EnvelopesAgree) {
    for (const json& row : rowsOf("envelopes")) {
        const EnvelopeData data = envelopeOf(row);
        const std::string name = row["kind"].get<std::string>() + " " + row["behavior"].dump() + " at ";
        for (const auto& probe : row["values"])
            expectNear(data.value(probe[0]).value(), probe[1], 1e-10, name + probe[0].dump());
        for (const auto& probe : row["slopes"])
            expectNear(data.slope(probe[0]).value(), probe[1], 1e-8, name + probe[0].dump() + ": slope");
        for (const auto& probe : row["extremes"]) {
            const ValueRange range = data.extremes(probe[0], probe[1]).value();
            expectNear(range, {probe[2], probe[3]}, 1e-10, name + probe.dump());
        }
    }
}

// Keys live in a list whose copies share chunks: an edit changes one copy, and chunks split and go as the list does.
TEST(ShapesTest, CopiesOfEditedListsStay) {
    CSharedList<int> list;
    std::vector<int> plain;
    std::vector<std::pair<CSharedList<int>, std::vector<int>>> states;
    std::minstd_rand random(1);
    for (int step = 0; step < 3000; ++step) {
        const std::size_t place = random() % (plain.size() + 1);
        const auto at = plain.begin() + static_cast<std::ptrdiff_t>(place);
        if (random() % 8 < (step < 2000 ? 6U : 1U) || plain.empty()) {
            list.insert(place, step);
            plain.insert(at, step);
        } else if (at != plain.end() && random() % 4 == 0) {
            list.change(place, [&](int& value) { value = -step; });
            *at = -step;
        } else if (at != plain.end()) {
            list.erase(place);
            plain.erase(at);
        }
        if (step % 100 == 0) states.emplace_back(list, plain);
    }
    states.emplace_back(list, plain);
    for (const auto& [state, expected] : states) {
        CSharedList<int> fresh;
        fresh.assign(expected);
        ASSERT_EQ(state.size(), expected.size());
        EXPECT_TRUE(state == fresh);
        for (std::size_t i = 0; i < expected.size(); ++i) EXPECT_EQ(state[i], expected[i]);
    }
    EXPECT_FALSE(states[10].first == states[11].first);
}

// The extremes of any range, from inside to far outside, are those of its values.
TEST(ShapesTest, ExtremesAreThoseOfTheValues) {
    for (const json& row : rowsOf("envelopes")) {
        const EnvelopeData data = envelopeOf(row);
        const double first = data.keys().front().time, length = data.keys().back().time - first;
        for (const auto& [start, end] : {std::pair(-.7, .4), {-2.6, -1.2}, {.2, 3.3}, {1.1, 1.2}, {-5.5, 4.2}}) {
            ValueRange sampled;
            for (int i = 0; i <= 8000; ++i)
                sampled.add(data.value(first + length * std::lerp(start, end, i / 8000.0)).value());
            const ValueRange range = data.extremes(first + length * start, first + length * end).value();
            const double step = 0.05 * std::max(1.0, sampled.highest - sampled.lowest);
            const std::string name = row["kind"].get<std::string>() + row["behavior"].dump() + std::to_string(start);
            EXPECT_LE(range.lowest, sampled.lowest + 1e-9) << name;
            EXPECT_GE(range.highest, sampled.highest - 1e-9) << name;
            EXPECT_NEAR(range.lowest, sampled.lowest, step) << name;
            EXPECT_NEAR(range.highest, sampled.highest, step) << name;
        }
    }
}

TEST(ShapesTest, CurvesAgree) {
    for (const json& row : rowsOf("curves")) {
        CurveDefinition definition{{}, row["degree"], row["closed"], row["tension"], 0};
        for (const auto& knot : row["knots"]) definition.knots.push_back(readPlain<KzVector3>(knot));
        const CCurveShape curve(definition);
        const std::string name = "degree " + row["degree"].dump() + (definition.isClosed ? " closed" : "");
        expectNear(curve.length(), row["length"], 1e-11, name);
        for (const auto& probe : row["params"]) {
            const double param = probe["param"];
            expectNear(curve.position(param), probe["position"], 1e-12, name);
            expectNear(curve.tangent(param), probe["tangent"], 1e-10, name);
            expectNear(curve.curvature(param), probe["curvature"], 1e-9, name);
            expectNear(curve.lengthTo(param), probe["length"], 1e-11, name);
            expectNear(curve.paramAt(probe["length"]), probe["param"], 1e-10, name);
        }
        for (const auto& probe : row["closest"]) {
            const KzVector3 point{{probe[0], probe[1], probe[2]}};
            expectNear(kzLength(curve.position(curve.closest(point)) - point), probe[3], 1e-10, name + probe.dump());
        }
        for (const auto& probe : row["normals"])
            expectNear(curve.normal(probe[0]), {probe[1], probe[2], probe[3]}, 1e-6, name + probe.dump());
    }
}

TEST(ShapesTest, RotationsAgree) {
    const std::string orders[] = {"xyz", "xzy", "yxz", "yzx", "zxy", "zyx"};
    const auto expectRotation = [](const KzQuaternion& found, const json& row, const std::string& what) {
        EXPECT_NEAR(std::abs(kzDot(found, readPlain<KzQuaternion>(row))), 1, 1e-14) << what;
    };
    for (const json& row : rowsOf("rotations")) {
        const auto name = row["order"].get<std::string>();
        const int order = static_cast<int>(std::find(orders, orders + 6, name) - orders);
        const auto angles = readPlain<KzVector3>(row["angles"]);
        const KzMatrix3 matrix = kzRotationOfEuler(angles, order);
        expectNear(matrix, row["matrix"], 1e-14, name);
        expectNear(kzEulerOfRotation(matrix, order), row["angles"], 1e-13, name);
        const KzQuaternion turn = kzQuaternionOf(matrix), other = readPlain<KzQuaternion>(row["other"]);
        expectRotation(turn, row["quaternion"], name);
        expectNear(kzRotationOf(turn), row["matrix"], 1e-14, name);
        const auto axis = readPlain<KzVector3>(row["turn"]);
        expectRotation(kzQuaternionAbout(kzUnit(axis), kzLength(axis)), row["quaternion"], name);
        expectRotation(kzThen(turn, other), row["product"], name);
        expectRotation(kzBlend(turn, other, row["weight"]), row["blend"], name);
        expectNear(kzTurn(readPlain<KzVector3>(row["vector"]), kzMatrixOf(matrix, {})), row["rotated"], 1e-13, name);
    }
    for (const json& row : rowsOf("inverses")) {
        const auto matrix = readPlain<KzMatrix4>(row["matrix"]);
        expectNear(kzInverse(matrix).value(), row["inverse"], 1e-9, "inverse");
        EXPECT_NEAR(kzDeterminant(matrix) / row["determinant"].get<double>(), 1, 1e-10);
    }
}

}  // namespace
