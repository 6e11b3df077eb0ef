#pragma once

#include "SPW_Types.h"

// Where platforms answer the same failure with codes of their own.
namespace PlatformCodes {

constexpr SPW_Result kNoFolderForTemporaryFile = 3;
constexpr SPW_Result kMoveBeforeBegin = 87;

}  // namespace PlatformCodes
