#include "platform/ForeignCall.h"

// An EXCEPTION_REGISTRATION_RECORD on the stack, linked at fs:[0]. Frame of KelvarinGuardedCall, from its ebp down:
//   -4 ebx   -8 esi   -12 edi   -16 handler   -20 next record (the record's address)
// The handler answers only to the one code, and not while the frames are unwound already; it lets RtlUnwind run the
// unwind handlers of all frames below and returns from KelvarinGuardedCall with the code.
__asm__(R"(
    .text
    .globl  _KelvarinGuardedCall
    .p2align 4
_KelvarinGuardedCall:
    pushl   %ebp
    movl    %esp, %ebp
    pushl   %ebx
    pushl   %esi
    pushl   %edi
    pushl   $KelvarinGuardHandler
    pushl   %fs:0
    movl    %esp, %fs:0
    pushl   12(%ebp)
    call    *8(%ebp)
    addl    $4, %esp
    xorl    %eax, %eax
KelvarinGuardLeave:
    popl    %fs:0
    addl    $4, %esp
    popl    %edi
    popl    %esi
    popl    %ebx
    popl    %ebp
    ret

KelvarinGuardHandler:
    pushl   %ebp
    movl    %esp, %ebp
    cld
    movl    8(%ebp), %eax
    testl   $0x66, 4(%eax)
    jnz     KelvarinGuardPass
    cmpl    $0xE06D7363, (%eax)
    jne     KelvarinGuardPass
    pushl   $0
    pushl   %eax
    pushl   $KelvarinGuardUnwound
    pushl   12(%ebp)
    call    _RtlUnwind@16
KelvarinGuardUnwound:
    movl    8(%ebp), %eax
    movl    (%eax), %eax
    movl    12(%ebp), %esp
    leal    20(%esp), %ebp
    jmp     KelvarinGuardLeave
KelvarinGuardPass:
    movl    $1, %eax
    popl    %ebp
    ret
)");
