// Constraints: items that place locators by others. A constraint acts on the locators to which it links in the graph
// "localTransforms", in the order of the links, and follows the items that link to it in the graph "sources". And matrices that
// are computed from matrices.
#pragma once

#include "host/document/evaluation.h"

#include <optional>
#include <span>
#include <vector>

namespace kzhost {

bool kzIsConstraint(const ItemType& type);
// The constraints of a locator, and what a constraint follows. The lock must be held.
std::vector<Item*> kzConstraintsOf(const Item& locator);
const std::vector<Item*>& kzSourcesOf(const Item& constraint);
// The channels with the numbers of a constraint, in the order in which kzConstrain takes them.
std::span<const char* const> kzConstraintChannels(const ItemType& type);
// Whether those numbers say that the constraint keeps the offset which the setup has.
bool kzKeepsOffset(std::span<const double> numbers);

// Where a locator and its parent are: by its own channels at that time, and by those of the setup.
struct Constrained {
    KzMatrix4 own, parent, setup, setupParent;
};
// `sources` are the matrices of what it follows, and then, if it keeps the offset, those of the setup.
KzMatrix4 kzConstrain(const ItemType& type, const Constrained& locator, std::span<const double> numbers,
                      std::span<const KzMatrix4> sources);

// Between both by their parts: positions and factors in a straight line, rotations along the shorter arc.
KzMatrix4 kzMixMatrices(const KzMatrix4& a, const KzMatrix4& b, double weight);
// What an item of the type mathMatrix computes. Empty where there is no inverse.
std::optional<KzMatrix4> kzMatrixMath(std::int32_t operation, double blend, std::span<const KzMatrix4> inputs);

}  // namespace kzhost
