// The peer of the block encoders, as its header gives it.
#include <cstdlib>
#include <cstring>

#define STB_DXT_IMPLEMENTATION
#include <stb/stb_dxt.h>
