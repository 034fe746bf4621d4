// Links oxShared like an application and instantiates all members of fixed strings, with capacities
// that the library itself does not use. The program links only if the library exports all functions
// that these members call. It also compares the version in the headers with the version of the
// library.

#include "shared/text/fixed_string.h"
#include "shared/version.h"

#include <sstream>

#if OX_VERSION < OX_VERSION_CHECK(7, 0, 26) ||                                                     \
    OX_VERSION >= OX_VERSION_CHECK(OX_VERSION_MAJOR + 1, 0, 0)
#error "the preprocessor cannot compare the version"
#endif

namespace ox::text
{

template class FixedText<_oxString8_evenSize<42>, EvenRecord8<42>>;
template class String8<_oxString8_evenSize<42>, EvenRecord8<42>>;
template class FixedText<_oxString8_UnevenSize<43>, UnevenRecord8<43>>;
template class String8<_oxString8_UnevenSize<43>, UnevenRecord8<43>>;
template class FixedText<_oxString<44>, WideRecord<44>>;

} // namespace ox::text

template class _oxString<44>;

int main()
{
    _oxString8_evenSize<42> const even = "job17_left";
    _oxString8_UnevenSize<43> const uneven = "job17_left";
    _oxString<44> const wide = "job17_left";
    std::ostringstream printed;
    printed << even << wide;
    bool const works = even == uneven && wide == even && (wide <=> uneven) == 0 &&
                       wide == QString(even) && printed.str() == "job17_leftjob17_left";
    std::ostringstream version;
    version << OX_VERSION_MAJOR << '.' << OX_VERSION_MINOR << '.' << OX_VERSION_PATCH;
    bool const sameVersion = oxVersion() == OX_VERSION && version.str() == oxVersionString();
    return works && sameVersion ? 0 : 1;
}
