/// The shared buffer "RasMailBox".
#pragma once

#include "Base.h"

inline constexpr CHAR16 RasMailBoxName[] = u"RasMailBox";

/// What the driver that makes the mailbox writes to its word.
inline constexpr UINT32 RAS_MAILBOX_WORD_START = 3;

/// Head or member of a doubly linked list; both links of an empty list's head lead to itself.
struct LIST_ENTRY {
  LIST_ENTRY *ForwardLink;
  LIST_ENTRY *BackLink;
};
LAYOUT_OFFSET (LIST_ENTRY, BackLink, 8);
LAYOUT_SIZE (LIST_ENTRY, 16);

struct [[gnu::packed]] RasMailBox {
  UINT8 Reserved[620];
  UINT32 MailBoxWord;
  LIST_ENTRY *ListHead; ///< Lies in the data of the driver that made the mailbox.
};
LAYOUT_OFFSET (RasMailBox, MailBoxWord, 620);
LAYOUT_OFFSET (RasMailBox, ListHead, 624);
LAYOUT_SIZE (RasMailBox, 632);
