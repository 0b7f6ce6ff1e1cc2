// The one pointer that says who watches.
#include "module/crossing_watch.h"

CCrossingWatch* kzCrossingWatch = nullptr;
