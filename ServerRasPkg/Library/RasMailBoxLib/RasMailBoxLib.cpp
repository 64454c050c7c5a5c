#include "RasMailBoxLib.h"

#include "Record/RasMailBox.h"
#include "SmmRasGlobalDataLib.h"

namespace {

/// The shared mailbox; null if there is none.
constinit RasMailBox *mRasMailBox = nullptr;

/// The list of the mailbox, set up by the driver that makes the mailbox only.
constinit LIST_ENTRY mRasMailBoxList = {};

} // namespace

EFI_STATUS EFIAPI
RasMailBoxConstructor (EFI_HANDLE, EFI_SYSTEM_TABLE *)
{
  BOOLEAN NewBuffer = FALSE;
  mRasMailBox = static_cast<RasMailBox *> (
      GetRasGlobalData (RasMailBoxName, sizeof (RasMailBox), &NewBuffer));
  if (NewBuffer) {
    mRasMailBox->MailBoxWord = RAS_MAILBOX_WORD_START;
    mRasMailBox->ListHead = &mRasMailBoxList;
    mRasMailBoxList = {.ForwardLink = &mRasMailBoxList, .BackLink = &mRasMailBoxList};
  }
  return EFI_SUCCESS;
}
