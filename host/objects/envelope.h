// Envelopes as objects, and the cursors over their keys.
#pragma once

#include "host/document/envelope.h"

#include "kz/base/types.h"

#include <memory>

namespace kzhost {

// An envelope of which nobody else knows.
std::shared_ptr<EnvelopeHome> kzMakeEnvelopeHome(bool isInteger);

// The object for the envelope that lives there.
IKzUnknown* kzMakeEnvelope(std::shared_ptr<EnvelopeHome> home);
// A cursor before the first key.
IKzUnknown* kzMakeKeyframe(std::shared_ptr<EnvelopeHome> home);

// Calls `change` with a copy of the data there, and writes it back.
template <class Change> void kzEditEnvelope(EnvelopeHome& home, const Change& change) {
    auto data = std::make_shared<EnvelopeData>(*home.read());
    change(*data);
    home.write(std::move(data));
}

}  // namespace kzhost
