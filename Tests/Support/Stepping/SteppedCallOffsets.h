// Byte offsets of RegisterFile and SteppedCall, for the assembly that loads and stores them.
#pragma once

#define REGISTER_FILE_SIZE              0x290
#define REGISTER_FILE_GENERAL(Register) (0x200 + 8 * (Register))
#define REGISTER_FILE_STACK_ARGUMENTS   0x280

#define STEPPED_CALL_ENTRY              0x000
#define STEPPED_CALL_EXIT               REGISTER_FILE_SIZE
#define STEPPED_CALL_FUNCTION           0x520
#define STEPPED_CALL_THEN               0x528
