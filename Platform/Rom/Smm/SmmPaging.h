/// The page tables of SMM: all addresses below 4 GiB are what they are, but only code of SMRAM is
/// executed, and in SMRAM each page allows no more than it has to.
#pragma once

#include "Base.h"

enum PageAccess : UINT8 {
  PageRead,
  PageExecute, ///< And read.
  PageWrite,   ///< And read.
};

extern "C" {

/// Fills the tables for so many processors, while TSEG is plain RAM. In TSEG there is then what
/// every boot has; the place of the drivers is not.
VOID SmmPagingPrepare (UINTN ProcessorCount);

/// Gives the pages from Start on, in TSEG, an access. Both numbers are multiples of a page's size.
/// This processor knows of it once it forgets its translations, the others with their next SMI.
VOID SmmPagingSet (UINT64 Start, UINT64 Size, PageAccess Access);

/// For the time when drivers are loaded: takes the write access from all that nobody has to write
/// then, the tables among it, and every access to ordinary RAM but the large page that begins with
/// the hand-over record.
VOID SmmPagingSettle ();

/// A checksum over the bytes of all of SMRAM that nobody may write.
UINT64 SmmPagingChecksum ();
}
