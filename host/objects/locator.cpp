// The matrices of locators, from their channels and their parents.
#include "host/objects/scene.h"
#include "host/objects/transform_values.h"

#include <algorithm>
#include <cmath>

namespace kzhost {

namespace {

// A rotation about one axis, in radians. A positive angle turns the next axis towards the one after it.
KzMatrix4 rotation(int axis, double angle) {
    KzMatrix4 matrix = kzIdentity();
    const int next = (axis + 1) % 3, last = (axis + 2) % 3;
    matrix.m[next][next] = matrix.m[last][last] = std::cos(angle);
    matrix.m[next][last] = std::sin(angle);
    matrix.m[last][next] = -std::sin(angle);
    return matrix;
}

// The axes in order of rotation, indexed by the constants of rotation orders.
constexpr int axesOf[][3] = {{0, 1, 2}, {0, 2, 1}, {1, 0, 2}, {1, 2, 0}, {2, 0, 1}, {2, 1, 0}};

// The value of a channel of numbers.
double number(const Item& item, const char* channel) {
    const std::int32_t index = item.findChannel(channel);
    return index >= 0 ? kzNumberOf(item.valueOf(*item.channelAt(static_cast<std::size_t>(index)))).value_or(0) : 0;
}

}  // namespace

KzMatrix4 kzScaleOf(const Item& item) {
    KzMatrix4 matrix = kzIdentity();
    const char* scales[] = {KZsICHAN_XFRMSCALE_SCL_X, KZsICHAN_XFRMSCALE_SCL_Y, KZsICHAN_XFRMSCALE_SCL_Z};
    for (int axis = 0; axis < 3; ++axis) matrix.m[axis][axis] = number(item, scales[axis]);
    return matrix;
}

KzMatrix4 kzRotationOf(const Item& item) {
    KzMatrix4 matrix = kzIdentity();
    const char* angles[] = {KZsICHAN_XFRMROTATION_ROT_X, KZsICHAN_XFRMROTATION_ROT_Y, KZsICHAN_XFRMROTATION_ROT_Z};
    const auto order = static_cast<std::size_t>(std::clamp(number(item, KZsICHAN_XFRMROTATION_ORDER), 0.0, 5.0));
    for (const int axis : axesOf[order]) matrix = matrix * rotation(axis, number(item, angles[axis]));
    return matrix;
}

KzMatrix4 kzLocalMatrix(const Item& item) {
    if (item.findChannel(KZsICHAN_LOCATOR_LOCALMATRIX) < 0) return kzIdentity();
    const char* places[] = {KZsICHAN_XFRMPOSITION_POS_X, KZsICHAN_XFRMPOSITION_POS_Y, KZsICHAN_XFRMPOSITION_POS_Z};
    KzMatrix4 matrix = kzScaleOf(item) * kzRotationOf(item);
    for (int axis = 0; axis < 3; ++axis) matrix.m[3][axis] = number(item, places[axis]);
    return matrix;
}

KzMatrix4 kzWorldMatrix(const Item& item) {
    KzMatrix4 matrix = kzLocalMatrix(item);
    for (const Item* parent = item.parent; parent != nullptr; parent = parent->parent)
        matrix = matrix * kzLocalMatrix(*parent);
    return matrix;
}

std::optional<KzMatrix4> kzMatrixOf(const Item& item, const ChannelInfo& channel) {
    switch (channel.kind) {
    case ChannelKind::matrix: return kzIdentity();
    case ChannelKind::localMatrix: return kzLocalMatrix(item);
    case ChannelKind::worldMatrix: return kzWorldMatrix(item);
    case ChannelKind::parentMatrix: return item.parent != nullptr ? kzWorldMatrix(*item.parent) : kzIdentity();
    case ChannelKind::inverseMatrix: return kzInverse(kzWorldMatrix(item));
    default: return {};
    }
}

}  // namespace kzhost
