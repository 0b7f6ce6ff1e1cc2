// Where locators are: matrices from their channels and their parents.
#include "host/objects/scene.h"

namespace kzhost {

namespace {

// Around one axis. Angles are radians, positive ones turn the next axis towards the one after it.
KzMatrix4 rotation(int axis, double angle) {
    KzMatrix4 matrix = kzIdentity();
    const int next = (axis + 1) % 3, last = (axis + 2) % 3;
    matrix.m[next][next] = matrix.m[last][last] = std::cos(angle);
    matrix.m[next][last] = std::sin(angle);
    matrix.m[last][next] = -std::sin(angle);
    return matrix;
}

// The axes in the order in which they turn, by the constants of rotation orders.
constexpr int axesOf[][3] = {{0, 1, 2}, {0, 2, 1}, {1, 0, 2}, {1, 2, 0}, {2, 0, 1}, {2, 1, 0}};

}  // namespace

// Scaled first, then turned, then moved. What is no locator stays where it is.
KzMatrix4 CItem::localMatrix() {
    KzMatrix4 matrix = kzIdentity();
    if (!hasChannel(KZsICHAN_LOCATOR_LOCALMATRIX)) return matrix;
    const char* scales[] = {KZsICHAN_XFRMSCALE_SCL_X, KZsICHAN_XFRMSCALE_SCL_Y, KZsICHAN_XFRMSCALE_SCL_Z};
    const char* angles[] = {KZsICHAN_XFRMROTATION_ROT_X, KZsICHAN_XFRMROTATION_ROT_Y, KZsICHAN_XFRMROTATION_ROT_Z};
    const char* places[] = {KZsICHAN_XFRMPOSITION_POS_X, KZsICHAN_XFRMPOSITION_POS_Y, KZsICHAN_XFRMPOSITION_POS_Z};
    for (int axis = 0; axis < 3; ++axis) matrix.m[axis][axis] = number(scales[axis]);
    const auto order = static_cast<std::size_t>(std::clamp(number(KZsICHAN_XFRMROTATION_ORDER), 0.0, 5.0));
    for (const int axis : axesOf[order]) matrix = matrix * rotation(axis, number(angles[axis]));
    for (int axis = 0; axis < 3; ++axis) matrix.m[3][axis] = number(places[axis]);
    return matrix;
}

KzMatrix4 CItem::worldMatrix() {
    KzMatrix4 matrix = localMatrix();
    for (CItem* above = m_parent; above != nullptr; above = above->m_parent) matrix = matrix * above->localMatrix();
    return matrix;
}

}  // namespace kzhost
