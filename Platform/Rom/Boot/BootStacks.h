// The stacks of the processors outside SMM, for the assembly too.
#pragma once

#define BOOT_STACK_SIZE  0x4000
#define BOOT_STACK_COUNT 16
