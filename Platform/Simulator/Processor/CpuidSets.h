/// CPUID answers of whole processors, by name.
#pragma once

#include <span>
#include <string_view>

#include "Base.h"

/// One answer, as the rows of Platform/Data/Cpuid list them.
struct CpuidRow {
  UINT32 Leaf;
  UINT32 SubLeaf;
  UINT32 Eax;
  UINT32 Ebx;
  UINT32 Ecx;
  UINT32 Edx;
};

/// What one kind of processor answers. The rows are those of APIC id 0; leaves that are not listed
/// are all zeros.
struct CpuidSet {
  std::string_view Name; ///< As platform descriptions write it.
  std::span<const CpuidRow> Rows;
};

/// Every set there is.
std::span<const CpuidSet> AllCpuidSets ();

/// The set of that name, or null.
const CpuidSet *FindCpuidSet (std::string_view Name);
