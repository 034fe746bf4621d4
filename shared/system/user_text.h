#pragma once

#include "shared/platform/user.h"

#include <QString>

namespace ox::system
{

/// Returns the result of a user query or, after a failure, the text of its error. `token` has the
/// sizes for the error text of the step readToken.
QString userText(platform::Result<std::u16string> const & answer,
                 platform::TokenSize const & token = {});

} // namespace ox::system
