#pragma once

#include "shared/platform/user.h"

#include <QString>

namespace ox::system
{

/// The answer to a query of a user or, after a failure, the text of the error.
QString userText(platform::Result<std::u16string> const & answer,
                 platform::TokenSize const & token = {});

} // namespace ox::system
