// How a processor outside SMM waits for what an interrupt tells.

// VOID SleepUnless (const volatile bool *Pending)
//
// An interrupt that comes after the look is taken when the instruction behind STI is done, unless
// an SMI comes between the two: it is then taken ahead of HLT, and its handler steps past that.
.text
.globl SleepUnless, gSleepHalt
SleepUnless:
  cli
  cmpb $0, (%rdi)
  jne 1f
  sti
gSleepHalt:
  hlt
  cli
1:
  ret
