#pragma once

/// The whole public interface of oxShared.

#include "shared/data/checksum.h"
#include "shared/data/data_buffer.h"
#include "shared/data/file_searcher.h"
#include "shared/data/random.h"
#include "shared/export.h"
#include "shared/fs/file.h"
#include "shared/fs/file_locker.h"
#include "shared/fs/path.h"
#include "shared/platform/types.h"
#include "shared/system/environment.h"
#include "shared/system/identity.h"
#include "shared/system/os_error.h"
#include "shared/text/encoding.h"
#include "shared/text/fixed_string.h"
#include "shared/text/fixed_string8.h"
#include "shared/text/format.h"
#include "shared/text/string_list.h"
#include "shared/time/stopwatch.h"
#include "shared/time/time_value.h"
