// Portability macros. This is the only header that asks which compiler or system it is built with.
#pragma once

// Marks what the library exports. On Windows, programs that link the static library define
// QOR_TEXSMITH_STATIC; its CMake target does it for them.
#if defined(_WIN32)
#    if defined(QOR_TEXSMITH_BUILD)
#        define QOR_TEXSMITH_API __declspec(dllexport)
#    elif defined(QOR_TEXSMITH_STATIC)
#        define QOR_TEXSMITH_API
#    else
#        define QOR_TEXSMITH_API __declspec(dllimport)
#    endif
#else
#    define QOR_TEXSMITH_API __attribute__((visibility("default")))
#endif

// Pointers so marked never overlap.
#if defined(__GNUC__) || defined(_MSC_VER)
#    define QOR_TEXSMITH_RESTRICT __restrict
#else
#    define QOR_TEXSMITH_RESTRICT
#endif

// Lets the compiler check a formatted print. Not for the assertion slots, whose fourth argument is a list.
#if defined(__GNUC__) && defined(_WIN32) && !defined(__clang__)
#    define QOR_TEXSMITH_PRINTF(text, first) __attribute__((format(gnu_printf, text, first)))
#elif defined(__GNUC__)
#    define QOR_TEXSMITH_PRINTF(text, first) __attribute__((format(printf, text, first)))
#else
#    define QOR_TEXSMITH_PRINTF(text, first)
#endif

// As a default argument: the line of the call.
#define QOR_TEXSMITH_CALLER_LINE __builtin_LINE()
