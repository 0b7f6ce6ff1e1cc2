// Constraints, and matrices that are computed from matrices.
#include "host/document/constraints.h"

#include "host/core/reasons.h"
#include "host/document/curve_shape.h"
#include "host/document/graphs.h"
#include "host/document/transform_values.h"

#include "kz/result.h"
#include "kz/scene_graph.h"

#include <algorithm>
#include <array>
#include <utility>

namespace kzhost {

namespace {

// The numbers of every constraint, and then those of its type.
enum Number { enable, blend, compensate, offsetX, axisX = offsetX + 3, space = axisX + 3, firstOwn };

// A locator in the space in which the constraint computes.
struct Work {
    KzMatrix4 own, setup;
    std::vector<KzMatrix4> sources, setupSources;
    std::span<const double> numbers;

    double operator[](std::size_t number) const { return numbers[number]; }
    KzVector3 offset() const { return {{numbers[offsetX], numbers[offsetX + 1], numbers[offsetX + 2]}}; }
    bool actsOn(int axis) const { return numbers[axisX + static_cast<std::size_t>(axis)] != 0; }
    bool actsOnAll() const { return actsOn(0) && actsOn(1) && actsOn(2); }
};

constexpr int angleOrder = KZiROTORDER_ZXY;  // in which single axes of a rotation are taken

KzVector3 positionOf(const KzMatrix4& matrix) { return {{matrix.m[3][0], matrix.m[3][1], matrix.m[3][2]}}; }
KzQuaternion rotationOf(const KzMatrix4& matrix) {
    return kzQuaternionOf(kzRotationAndScale(kzUpperLeft(matrix)).rotation);
}
KzVector3 scaleOf(const KzMatrix4& matrix) { return kzRotationAndScale(kzUpperLeft(matrix)).scale; }
KzVector3 mixed(const KzVector3& a, const KzVector3& b, double weight) { return a + (b - a) * weight; }

KzMatrix4 composed(const KzVector3& position, const KzMatrix3& rotation, const KzVector3& scale) {
    KzMatrix3 axes = rotation;
    for (int row = 0; row < 3; ++row)
        for (double& number : axes.m[row]) number *= scale.v[row];
    return kzMatrixOf(axes, position);
}

template <class Part> KzVector3 average(const std::vector<KzMatrix4>& matrices, const Part& part) {
    KzVector3 sum{};
    for (const KzMatrix4& each : matrices) sum = sum + part(each);
    return sum * (1 / static_cast<double>(std::max<std::size_t>(matrices.size(), 1)));
}

KzQuaternion averageRotation(const std::vector<KzMatrix4>& matrices) {
    KzQuaternion rotation{{0, 0, 0, 1}};
    double count = 0;
    for (const KzMatrix4& each : matrices) rotation = kzBlend(rotation, rotationOf(each), 1 / ++count);
    return rotation;
}

KzMatrix4 withPosition(const Work& work, const KzVector3& goal) {
    KzMatrix4 placed = work.own;
    for (int axis = 0; axis < 3; ++axis)
        if (work.actsOn(axis)) placed.m[3][axis] += (goal.v[axis] - placed.m[3][axis]) * work[blend];
    return placed;
}

KzMatrix4 withRotation(const Work& work, const KzQuaternion& wanted) {
    const RotationAndScale parts = kzRotationAndScale(kzUpperLeft(work.own));
    KzMatrix3 goal = kzRotationOfEuler(work.offset(), angleOrder) * kzRotationOf(wanted);
    if (!work.actsOnAll()) {
        const KzVector3 own = kzEulerOfRotation(parts.rotation, angleOrder);
        KzVector3 angles = kzEulerOfRotation(goal, angleOrder);
        for (int axis = 0; axis < 3; ++axis)
            if (!work.actsOn(axis)) angles.v[axis] = own.v[axis];
        goal = kzRotationOfEuler(angles, angleOrder);
    }
    const KzQuaternion rotation = kzBlend(kzQuaternionOf(parts.rotation), kzQuaternionOf(goal), work[blend]);
    return composed(positionOf(work.own), kzRotationOf(rotation), parts.scale);
}

KzMatrix4 byPosition(const Work& work) {
    KzVector3 goal = average(work.sources, positionOf) + work.offset();
    if (kzKeepsOffset(work.numbers)) goal = goal + positionOf(work.setup) - average(work.setupSources, positionOf);
    return withPosition(work, goal);
}

KzMatrix4 byRotation(const Work& work) {
    KzQuaternion goal = averageRotation(work.sources);
    if (kzKeepsOffset(work.numbers)) {
        KzQuaternion back = averageRotation(work.setupSources);
        for (int i = 0; i < 3; ++i) back.v[i] = -back.v[i];
        goal = kzThen(kzThen(rotationOf(work.setup), back), goal);
    }
    return withRotation(work, goal);
}

KzMatrix4 byScale(const Work& work) {
    KzVector3 goal = average(work.sources, scaleOf) + work.offset();
    if (kzKeepsOffset(work.numbers)) goal = goal + scaleOf(work.setup) - average(work.setupSources, scaleOf);
    const RotationAndScale parts = kzRotationAndScale(kzUpperLeft(work.own));
    KzVector3 scale = parts.scale;
    for (int axis = 0; axis < 3; ++axis)
        if (work.actsOn(axis)) scale.v[axis] += (goal.v[axis] - scale.v[axis]) * work[blend];
    return composed(positionOf(work.own), parts.rotation, scale);
}

// One axis lies in the direction, another as near to Y as it can, and both are turned about the direction. The axes count x y
// z -x -y -z.
KzQuaternion aimed(const KzVector3& along, int aim, int up, double roll) {
    const KzVector3 direction = kzUnit(along);
    KzVector3 above{{0, 1, 0}};
    above = above - direction * kzDot(above, direction);
    above = kzLength(above) > 1e-9 ? kzUnit(above) : kzAcross(direction);
    if (up % 3 == aim % 3) up = (aim + 1) % 3;
    KzVector3 rows[3];
    rows[aim % 3] = direction * (aim < 3 ? 1 : -1);
    rows[up % 3] = above * (up < 3 ? 1 : -1);
    const int last = 3 - aim % 3 - up % 3;
    rows[last] = kzCross(rows[(last + 1) % 3], rows[(last + 2) % 3]);
    const KzQuaternion rotation = kzQuaternionOf(kzMatrixOfRows(rows[0], rows[1], rows[2]));
    return kzThen(rotation, kzQuaternionAbout(direction, roll));
}

KzMatrix4 byDirection(const Work& work) {
    const KzVector3 along = average(work.sources, positionOf) - positionOf(work.own);
    if (!(kzLength(along) > 0)) return work.own;
    return withRotation(
        work, aimed(along, static_cast<int>(work[firstOwn]), static_cast<int>(work[firstOwn + 1]), work[firstOwn + 2]));
}

// Along the smooth curve through the places of the sources. Turned, its Z axis looks ahead.
KzMatrix4 byPath(const Work& work) {
    CurveDefinition definition;
    for (const KzMatrix4& each : work.sources) definition.knots.push_back(positionOf(each));
    const CCurveShape curve(definition);
    const double param = curve.paramAt(work[firstOwn] * curve.length());
    KzVector3 ahead = curve.tangent(param);
    Work placed = work;
    placed.own = withPosition(work, curve.position(param) + work.offset());
    if (work[firstOwn + 1] == 0 || !(kzLength(ahead) > 0)) return placed.own;
    std::array<double, firstOwn> numbers{};
    std::copy_n(work.numbers.begin(), firstOwn, numbers.begin());
    std::fill_n(numbers.begin() + offsetX, 3, 0.0);  // which the position has
    std::fill_n(numbers.begin() + axisX, 3, 1.0);
    placed.numbers = numbers;
    return withRotation(placed, aimed(ahead, 2, 1, work[firstOwn + 2]));
}

KzMatrix4 byDistance(const Work& work) {
    const KzVector3 center = average(work.sources, positionOf) + work.offset();
    const KzVector3 away = positionOf(work.own) - center;
    const double length = kzLength(away);
    const double wanted = std::min(std::max(length, work[firstOwn]), std::max(work[firstOwn], work[firstOwn + 1]));
    const KzVector3 direction = length > 0 ? away * (1 / length) : KzVector3{{0, 1, 0}};
    return withPosition(work, center + direction * wanted);
}

KzMatrix4 bySurface(const Work& work) {
    kzBecause(KZe_NOTIMPL, "Evaluation",
              [] { return "this host follows no surfaces: a surface constraint does nothing"; });
    return work.own;
}

struct Row {
    const char* type;
    std::vector<const char*> channels;
    KzMatrix4 (*place)(const Work& work);
};

const Row* rowOf(const ItemType& type) {
    static const std::vector<Row> rows = [] {
        const std::vector<Row> own{
            {KZsITYPE_CONSPOSITION, {}, byPosition},
            {KZsITYPE_CONSROTATION, {}, byRotation},
            {KZsITYPE_CONSSCALE, {}, byScale},
            {KZsITYPE_CONSDIRECTION,
             {KZsICHAN_CONSDIRECTION_AIM, KZsICHAN_CONSDIRECTION_UP, KZsICHAN_CONSDIRECTION_ROLL},
             byDirection},
            {KZsITYPE_CONSPATH, {KZsICHAN_CONSPATH_PERCENT, KZsICHAN_CONSPATH_ORIENT, KZsICHAN_CONSPATH_BANK}, byPath},
            {KZsITYPE_CONSSURFACE, {}, bySurface},
            {KZsITYPE_CONSDISTANCE, {KZsICHAN_CONSDISTANCE_MINIMUM, KZsICHAN_CONSDISTANCE_MAXIMUM}, byDistance}};
        std::vector<Row> all;
        for (const Row& each : own) {
            Row row{each.type,
                    {KZsICHAN_CONSTRAINT_ENABLE, KZsICHAN_CONSTRAINT_BLEND, KZsICHAN_CONSTRAINT_COMPENSATE,
                     KZsICHAN_CONSTRAINT_OFFSET_X, KZsICHAN_CONSTRAINT_OFFSET_Y, KZsICHAN_CONSTRAINT_OFFSET_Z,
                     KZsICHAN_CONSTRAINT_AXISX, KZsICHAN_CONSTRAINT_AXISY, KZsICHAN_CONSTRAINT_AXISZ,
                     KZsICHAN_CONSTRAINT_SPACE},
                    each.place};
            row.channels.insert(row.channels.end(), each.channels.begin(), each.channels.end());
            all.push_back(std::move(row));
        }
        return all;
    }();
    static const std::map<const ItemType*, const Row*> byType = [] {
        std::map<const ItemType*, const Row*> found;
        for (const Row& row : rows) found[kzFindItemType(row.type)] = &row;
        return found;
    }();
    const auto row = byType.find(&type);
    return row != byType.end() ? row->second : nullptr;
}

}  // namespace

bool kzIsConstraint(const ItemType& type) { return rowOf(type) != nullptr; }

std::vector<Item*> kzConstraintsOf(const Item& locator) {
    std::vector<Item*> constraints;
    if (locator.links.empty()) return constraints;
    for (Item* each : kzLinksOf(locator, KZsGRAPH_XFRMLOCAL).reverse)
        if (kzIsConstraint(each->type)) constraints.push_back(each);
    return constraints;
}

const std::vector<Item*>& kzSourcesOf(const Item& constraint) { return kzLinksOf(constraint, KZsGRAPH_SOURCE).reverse; }

std::span<const char* const> kzConstraintChannels(const ItemType& type) { return rowOf(type)->channels; }

bool kzKeepsOffset(std::span<const double> numbers) { return numbers[compensate] != 0; }

KzMatrix4 kzConstrain(const ItemType& type, const Constrained& locator, std::span<const double> numbers,
                      std::span<const KzMatrix4> sources) {
    if (sources.empty() || numbers[enable] == 0) return locator.own;
    const auto frameOf = [&](const KzMatrix4& parent, const KzMatrix4& own) {
        if (numbers[space] == KZiCONSTRAINT_SPACE_PARENT) return parent;
        return numbers[space] == KZiCONSTRAINT_SPACE_LOCAL ? own : kzIdentity();
    };
    const KzMatrix4 frame = frameOf(locator.parent, locator.own);
    const auto inverse = kzInverse(frame), setupInverse = kzInverse(frameOf(locator.setupParent, locator.setup));
    if (!inverse || !setupInverse) return locator.own;
    Work work{locator.own * *inverse, locator.setup * *setupInverse, {}, {}, numbers};
    const std::size_t count = kzKeepsOffset(numbers) ? sources.size() / 2 : sources.size();
    for (const KzMatrix4& each : sources.first(count)) work.sources.push_back(each * *inverse);
    for (const KzMatrix4& each : sources.subspan(count)) work.setupSources.push_back(each * *setupInverse);
    return rowOf(type)->place(work) * frame;
}

KzMatrix4 kzMixMatrices(const KzMatrix4& a, const KzMatrix4& b, double weight) {
    const KzQuaternion rotation = kzBlend(rotationOf(a), rotationOf(b), weight);
    return composed(mixed(positionOf(a), positionOf(b), weight), kzRotationOf(rotation),
                    mixed(scaleOf(a), scaleOf(b), weight));
}

std::optional<KzMatrix4> kzMatrixMath(std::int32_t operation, double blend, std::span<const KzMatrix4> inputs) {
    enum { multiply, invert, transpose, mix };
    KzMatrix4 result = inputs.front();
    switch (operation) {
    case invert: return kzInverse(result);
    case transpose:
        for (int row = 0; row < 4; ++row)
            for (int column = 0; column < 4; ++column) result.m[row][column] = inputs.front().m[column][row];
        return result;
    case mix: return inputs.size() > 1 ? kzMixMatrices(result, inputs[1], blend) : result;
    default:
        for (const KzMatrix4& each : inputs.subspan(1)) result = result * each;
        return result;
    }
}

}  // namespace kzhost
