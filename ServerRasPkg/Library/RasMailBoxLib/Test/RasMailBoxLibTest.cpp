#include "RasMailBoxLib.h"

#include "RasTestBench.h"
#include "Record/RasMailBox.h"

namespace {

using RasMailBoxLib = RasTestBench;

TEST_F (RasMailBoxLib, StartsTheMailboxOnceAndSucceedsWithoutIt)
{
  FaultPlanFail (ServiceSmmAllocatePool, 1, EFI_OUT_OF_RESOURCES);
  EXPECT_EQ (RasMailBoxConstructor (nullptr, nullptr), EFI_SUCCESS);
  EXPECT_EQ (RasMailBoxConstructor (nullptr, nullptr), EFI_SUCCESS);
  auto *MailBox = SharedBuffer<RasMailBox> (RasMailBoxName);
  EXPECT_EQ (+MailBox->MailBoxWord, 3U);
  const LIST_ENTRY *Head = MailBox->ListHead;
  EXPECT_EQ (Head->ForwardLink, Head);
  EXPECT_EQ (Head->BackLink, Head);

  *MailBox = {};
  EXPECT_EQ (RasMailBoxConstructor (nullptr, nullptr), EFI_SUCCESS);
  EXPECT_EQ (+MailBox->MailBoxWord, 0U);
  EXPECT_EQ (+MailBox->ListHead, nullptr);
}

} // namespace
