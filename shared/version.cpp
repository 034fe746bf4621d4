#include "shared/version.h"

int oxVersion()
{
    return OX_VERSION;
}

char const * oxVersionString()
{
    return OX_VERSION_STRING;
}
