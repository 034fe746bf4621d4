#pragma once

/// The whole public interface of oxShared.

#include "shared/export.h"
#include "shared/platform/types.h"
#include "shared/text/encoding.h"
#include "shared/text/fixed_string.h"
#include "shared/text/fixed_string8.h"
