#include "shared/text/fixed_string.h"
#include "shared/text/format.h"
#include "shared/text/string_list.h"

namespace
{

template <typename String, typename Member>
auto position(String const & string, Member const & member)
{
    return reinterpret_cast<char const *>(&member) - reinterpret_cast<char const *>(&string);
}

} // namespace

QString listStringMemorySize()
{
    QString report = QStringLiteral("----Strings--------\n");
    auto const add = [&report](char const * line, auto number) {
        report += QString::fromLatin1(line).arg(number, 10);
    };
    _oxString<250> const wide;
    _oxString8_evenSize<10> const even;
    _oxString8_UnevenSize<15> const uneven;
    _oxString8_AllSize<10> const lengthFirst;

    add("sizeof _oxString10        %1\n", sizeof(_oxString<10>));
    add("sizeof _oxString25        %1\n", sizeof(_oxString<25>));
    add("sizeof _oxString75        %1\n", sizeof(_oxString<75>));
    add("sizeof _oxString250       %1\n", sizeof(_oxString<250>));
    add("pos value                 %1 \n", position(wide, wide.value));
    add("pos length                %1 \n", position(wide, wide.length));

    add("sizeof _oxString8_10      %1\n", sizeof(_oxString8_evenSize<10>));
    add("sizeof _oxString8_12      %1\n", sizeof(_oxString8_evenSize<12>));
    add("sizeof _oxString8_15      %1\n", sizeof(_oxString8_UnevenSize<15>));
    add("sizeof _oxString8_50      %1\n", sizeof(_oxString8_evenSize<50>));
    add("sizeof _oxString8_75      %1\n", sizeof(_oxString8_UnevenSize<75>));
    add("pos length                %1 \n", position(even, even.length));
    add("pos value                 %1 \n", position(even, even.value));
    add("pos length                %1 \n", position(uneven, uneven.length));
    add("pos value                 %1 \n", position(uneven, uneven.value));

    add("sizeof _oxString8_AllSize<10>    %1\n", sizeof(_oxString8_AllSize<10>));
    add("sizeof _oxString8_AllSize<12>    %1\n", sizeof(_oxString8_AllSize<12>));
    add("sizeof _oxString8_AllSize<15>    %1\n", sizeof(_oxString8_AllSize<15>));
    add("sizeof _oxString8_AllSize<50>    %1\n", sizeof(_oxString8_AllSize<50>));
    add("sizeof _oxString8_AllSize<75>    %1\n", sizeof(_oxString8_AllSize<75>));
    add("pos length                       %1 \n", position(lengthFirst, lengthFirst.length));
    add("pos value                        %1 \n", position(lengthFirst, lengthFirst.value));

    add("sizeof _oxStringList      %1\n", sizeof(_oxStringList));
    return report;
}
