// Python's own output: the objects that stand as sys.stdout and sys.stderr and pass every line to the current sink.
#pragma once

// Puts the streams into sys, as the current and as the original ones. Throws FAILED.
void kzInstallStreams();
