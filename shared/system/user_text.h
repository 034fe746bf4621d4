#pragma once

#include "shared/platform/user.h"

#include <QString>

namespace ox::system
{

/// Returns the result of a user query or, after a failure, the text of its error. If the step
/// readToken failed, the text also contains the sizes in `token`.
QString userText(platform::Result<std::u16string> const & answer,
                 platform::TokenSize const & token = {});

} // namespace ox::system
