// Instantiates all members of fixed strings with capacities that the library does not use, in a
// program that links to the library like an application. It links only if the library exports all
// functions that they call.

#include "shared/text/fixed_string.h"

#include <sstream>

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
    return works ? 0 : 1;
}
