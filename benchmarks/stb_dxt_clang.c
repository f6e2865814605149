/* The same encoders, built by Clang under other names. */
#define STB_DXT_IMPLEMENTATION
#define stb_compress_dxt_block clangStbDxt
#define stb_compress_bc4_block clangStbBc4
#define stb_compress_bc5_block clangStbBc5
#include <stb/stb_dxt.h>
