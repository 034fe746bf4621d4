#include "shared/fs/file_sync.h"

#include "shared/fs/file_sync_steps.h"
#include "shared/system/environment.h"

bool syncCopy(_oxString8_evenSize<500> source, _oxString8_evenSize<500> target,
              bool const & retryExe, _oxString8_evenSize<500> * errors,
              _oxString8_evenSize<500> * info, int pause, bool const & verbose)
{
    return ox::detail::syncCopy(source, target, retryExe, errors, info, pause, verbose, oxSleep);
}
