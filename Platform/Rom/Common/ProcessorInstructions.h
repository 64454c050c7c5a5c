/// Instructions that the driver's machine operations (Machine.h) do not have. Each function is one
/// of them, and is told only what the instruction does not say.
#pragma once

#include "Base.h"

inline VOID
IoWrite16 (UINT16 Port, UINT16 Value)
{
  asm volatile("outw %0, %1" ::"a"(Value), "Nd"(Port));
}

inline VOID
IoWrite32 (UINT16 Port, UINT32 Value)
{
  asm volatile("outl %0, %1" ::"a"(Value), "Nd"(Port));
}

/// Writes Size bytes, one after the other.
inline VOID
IoWriteBytes (UINT16 Port, const CHAR8 *Bytes, UINTN Size)
{
  asm volatile("rep outsb" : "+S"(Bytes), "+c"(Size) : "d"(Port) : "memory");
}

inline UINT32
IoRead32 (UINT16 Port)
{
  UINT32 Value;
  asm volatile("inl %1, %0" : "=a"(Value) : "Nd"(Port));
  return Value;
}

inline VOID
WriteMsr64 (UINT32 Index, UINT64 Value)
{
  asm volatile("wrmsr" ::"c"(Index), "a"(static_cast<UINT32> (Value)),
               "d"(static_cast<UINT32> (Value >> 32)));
}

/// What LGDT and LIDT are given.
struct [[gnu::packed]] TablePointer {
  UINT16 Limit;
  UINT64 Base;
};
LAYOUT_SIZE (TablePointer, 10);

inline VOID
LoadInterruptTable (const TablePointer &Table)
{
  asm volatile("lidt %0" ::"m"(Table));
}

inline UINT64
ReadFaultAddress ()
{
  UINT64 Value;
  asm volatile("mov %%cr2, %0" : "=r"(Value));
  return Value;
}

/// Loads CR3 again, which drops what the processor remembers of the page tables.
inline VOID
ForgetTranslations ()
{
  UINT64 Value;
  asm volatile("mov %%cr3, %0\n\tmov %0, %%cr3" : "=r"(Value)::"memory");
}

inline UINT64
ReadControl0 ()
{
  UINT64 Value;
  asm volatile("mov %%cr0, %0" : "=r"(Value));
  return Value;
}

inline VOID
WriteControl0 (UINT64 Value)
{
  asm volatile("mov %0, %%cr0" ::"r"(Value) : "memory");
}

inline VOID
WriteControl4 (UINT64 Value)
{
  asm volatile("mov %0, %%cr4" ::"r"(Value) : "memory");
}
