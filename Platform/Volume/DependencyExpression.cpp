#include "DependencyExpression.h"

namespace {

constexpr UINTN OperandMax = 32;

/// The expression, and how far it has been read.
struct Reader {
  const UINT8 *Bytes;
  UINTN Size;
  UINTN Next;
};

struct OperandStack {
  bool Operands[OperandMax];
  UINTN Count;
};

bool
TakeGuid (Reader &From, EFI_GUID &Guid)
{
  if (From.Size - From.Next < sizeof Guid) {
    return false;
  }
  __builtin_memcpy (&Guid, From.Bytes + From.Next, sizeof Guid);
  From.Next += sizeof Guid;
  return true;
}

/// Number of operands that an opcode takes off the stack.
UINTN
OperandsOf (UINT8 Opcode)
{
  switch (Opcode) {
  case EFI_DEP_AND:
  case EFI_DEP_OR:
    return 2;
  case EFI_DEP_NOT:
  case EFI_DEP_END:
    return 1;
  default:
    return 0;
  }
}

/// Does one operation on the stack, which has the operands for it.
const CHAR8 *
Operate (UINT8 Opcode, Reader &From, const ProtocolQuestion &Question, OperandStack &Stack)
{
  const UINTN Taken = OperandsOf (Opcode);
  const bool Top = Taken > 0 && Stack.Operands[Stack.Count - 1];
  const bool Second = Taken > 1 && Stack.Operands[Stack.Count - 2];
  bool Result = false;
  EFI_GUID Protocol;
  switch (Opcode) {
  case EFI_DEP_PUSH:
    if (!TakeGuid (From, Protocol)) {
      return "a GUID is cut off";
    }
    Result = Question.IsThere (Question.Context, &Protocol);
    break;
  case EFI_DEP_AND:
    Result = Top && Second;
    break;
  case EFI_DEP_OR:
    Result = Top || Second;
    break;
  case EFI_DEP_NOT:
    Result = !Top;
    break;
  case EFI_DEP_TRUE:
    Result = true;
    break;
  case EFI_DEP_FALSE:
    break;
  default:
    return "there is no such opcode in this place";
  }
  Stack.Count -= Taken;
  if (Stack.Count == OperandMax) {
    return "there are too many operands";
  }
  Stack.Operands[Stack.Count++] = Result;
  return nullptr;
}

VolumeFault
Evaluate (Reader &From, const ProtocolQuestion &Question, bool &Holds)
{
  OperandStack Stack = {};
  while (From.Next < From.Size) {
    const UINTN Place = From.Next;
    const UINT8 Opcode = From.Bytes[From.Next++];
    if (Stack.Count < OperandsOf (Opcode)) {
      return {"an operand is missing", Place};
    }
    if (Opcode == EFI_DEP_END) {
      Holds = Stack.Operands[0];
      return Stack.Count == 1 ? VolumeFault{} : VolumeFault{"operands are left over", Place};
    }
    if (const CHAR8 *Text = Operate (Opcode, From, Question, Stack); Text != nullptr) {
      return {Text, Place};
    }
  }
  return {"END is missing", From.Size};
}

} // namespace

VolumeFault
EvaluateDependency (const UINT8 *Expression,
                    UINTN Size,
                    const ProtocolQuestion &Question,
                    Dependency &Answer)
{
  Answer = {.Kind = DependsOnProtocols, .Holds = false, .Module = {}};
  Reader From = {Expression, Size, 0};
  if (Size == 0 || (Expression[0] != EFI_DEP_BEFORE && Expression[0] != EFI_DEP_AFTER)) {
    const VolumeFault Fault = Evaluate (From, Question, Answer.Holds);
    return Fault.Text == nullptr && From.Next != Size
               ? VolumeFault{"something stands behind END", From.Next}
               : Fault;
  }
  Answer.Kind = Expression[0] == EFI_DEP_BEFORE ? DependsBefore : DependsAfter;
  From.Next = 1;
  if (!TakeGuid (From, Answer.Module)) {
    return {"a GUID is cut off", 0};
  }
  return From.Next + 1 == Size && Expression[From.Next] == EFI_DEP_END
             ? VolumeFault{}
             : VolumeFault{"END has to follow the module's name", From.Next};
}
