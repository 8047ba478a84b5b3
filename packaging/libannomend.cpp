// The library is made of the rooms; this file names what they are put together for.
#include "converter/annomend.h"
