#include "ExecutingProcessor.h"

namespace {

thread_local UINTN ExecutingIndex = 0;

} // namespace

UINTN
ExecutingProcessor ()
{
  return ExecutingIndex;
}

OnProcessor::OnProcessor (UINTN Index) : Before (ExecutingIndex)
{
  ExecutingIndex = Index;
}

OnProcessor::~OnProcessor ()
{
  ExecutingIndex = Before;
}
