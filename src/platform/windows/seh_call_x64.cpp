// The one place that asks which compiler builds the structured frame: where there is no __try, the frame is
// written out for x86-64.
#include "platform/windows/seh_call.h"

#include "platform/windows/win32.h"

#if defined(_MSC_VER)

namespace {

// The code with which the run-time library carries throws: they go on to their catch.
constexpr unsigned kThrowCode = 0xE06D7363;

} // namespace

extern "C" unsigned texsmithSehCall(void (*body)(void* context), void* context) {
    __try {
        body(context);
        return 0;
    } __except (GetExceptionCode() == kThrowCode ? EXCEPTION_CONTINUE_SEARCH : EXCEPTION_EXECUTE_HANDLER) {
        return GetExceptionCode();
    }
}

#else

namespace {

// The low three bytes of the codes with which the run-time library carries throws: "GCC".
constexpr unsigned kThrowCode = 0x474343;
constexpr unsigned kThrowCodeMask = 0xFFFFFF;
// Where the frame below keeps the code.
constexpr unsigned kCodeOffset = 32;

} // namespace

// Called by the system's handler, with the stack pointer of the frame below. A throw has to go on to its
// catch. The code is kept here, since not every system hands it to the place where execution goes on.
extern "C" long texsmithSehFilter(EXCEPTION_POINTERS* pointers, void* frame) {
    const auto code = static_cast<unsigned>(pointers->ExceptionRecord->ExceptionCode);
    if ((code & kThrowCodeMask) == kThrowCode) {
        return EXCEPTION_CONTINUE_SEARCH;
    }
    *reinterpret_cast<unsigned*>(static_cast<char*>(frame) + kCodeOffset) = code;
    return EXCEPTION_EXECUTE_HANDLER;
}

// 56 bytes of stack: 32 for the callee's arguments, 8 that begin with the code, 16 for alignment.
// The nop keeps the return address of the call within the guarded range.
asm(R"(
    .text
    .p2align 4
    .globl  texsmithSehCall
    .def    texsmithSehCall; .scl 2; .type 32; .endef
    .seh_proc texsmithSehCall
texsmithSehCall:
    subq    $56, %rsp
    .seh_stackalloc 56
    .seh_handler __C_specific_handler, @except
    .seh_endprologue
    movl    $0, 32(%rsp)
    movq    %rcx, %rax
    movq    %rdx, %rcx
.LtexsmithSehBegin:
    callq   *%rax
    nop
.LtexsmithSehEnd:
.LtexsmithSehTarget:
    movl    32(%rsp), %eax
    addq    $56, %rsp
    retq
    .seh_handlerdata
    .long   1
    .rva    .LtexsmithSehBegin, .LtexsmithSehEnd, texsmithSehFilter, .LtexsmithSehTarget
    .text
    .seh_endproc
)");

#endif
