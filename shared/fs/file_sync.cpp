#include "shared/fs/file_sync.h"

#include "shared/fs/file_sync_steps.h"
#include "shared/platform/file_names.h"
#include "shared/system/environment.h"
#include "shared/text/utf16_view.h"

namespace
{

/// Returns the name as a record of 500 bytes. A name that does not fit becomes the empty name,
/// which syncCopy treats as the name of a missing file.
_oxString8_evenSize<500> recordOf(QString const & name)
{
    auto const bytes = ox::platform::recordName(ox::text::viewOf(name));
    return _oxString8_evenSize<500>(bytes && bytes->size() <= 500 ? *bytes : std::string());
}

} // namespace

bool syncCopy(_oxString8_evenSize<500> source, _oxString8_evenSize<500> target,
              bool const & retryExe, _oxString8_evenSize<500> * errors,
              _oxString8_evenSize<500> * info, int pause, bool const & verbose)
{
    return ox::fs::syncCopy(source, target, retryExe, errors, info, pause, verbose, oxSleep);
}

bool syncCopy(QString const & source, QString const & target, bool const & retryExe,
              _oxString8_evenSize<500> * errors, _oxString8_evenSize<500> * info, int pause,
              bool const & verbose)
{
    return syncCopy(recordOf(source), recordOf(target), retryExe, errors, info, pause, verbose);
}
