#pragma once

/// The whole public interface of oxShared.

#include "shared/export.h"
