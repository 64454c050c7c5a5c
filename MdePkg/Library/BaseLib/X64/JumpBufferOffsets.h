// Byte offsets of the fields of JumpBuffer, for its structure and for the assembly that fills it.
#pragma once

// The bit of CR4 that turns control-flow enforcement, and with it the shadow stack, on.
#define CR4_CET                 23

#define JUMP_BUFFER_RBX         0x00
#define JUMP_BUFFER_RSP         0x08
#define JUMP_BUFFER_RBP         0x10
#define JUMP_BUFFER_RDI         0x18
#define JUMP_BUFFER_RSI         0x20
#define JUMP_BUFFER_R12         0x28
#define JUMP_BUFFER_R13         0x30
#define JUMP_BUFFER_R14         0x38
#define JUMP_BUFFER_R15         0x40
#define JUMP_BUFFER_RIP         0x48
#define JUMP_BUFFER_MXCSR       0x50
#define JUMP_BUFFER_XMM(Number) (0x54 + 0x10 * ((Number)-6))
#define JUMP_BUFFER_SSP         0xF8
