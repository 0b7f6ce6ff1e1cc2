// The composition root's table: what start-up is given.
#pragma once

// Hands start-up the functions, types and builders of all parts, in their fixed order.
void kzComposeParts();
