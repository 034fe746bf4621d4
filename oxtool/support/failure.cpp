#include "oxtool/support/failure.h"

namespace ox::tool
{

ExitStatus statusOf(platform::Error error)
{
    return error.kind() == platform::ErrorKind::NotFound ? Missing : Failed;
}

int combinedStatus(int one, int other)
{
    if (one == Done || one == other)
        return other;
    return other == Done ? one : Failed;
}

} // namespace ox::tool
