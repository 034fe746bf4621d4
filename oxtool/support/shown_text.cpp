#include "oxtool/support/shown_text.h"

#include "oxtool/support/report.h"

#include <QStringList>

#include <algorithm>
#include <string>
#include <string_view>

namespace ox::tool
{
namespace
{

bool isPrintable(char32_t character)
{
    constexpr char32_t lineSeparator = 0x2028;
    constexpr char32_t paragraphSeparator = 0x2029;
    return QChar::isPrint(character) && character != lineSeparator &&
           character != paragraphSeparator;
}

bool isPlain(QChar unit)
{
    return unit >= u' ' && unit <= u'~';
}

struct Range {
    char32_t first;
    char32_t last;
};

/// Blocks of characters that take two columns. Terminals disagree on the width of some symbols; a
/// block with such symbols counts as wide, since a line that is too long would wrap.
constexpr Range wideRanges[] = {
    {0x1100, 0x115F},   // Hangul syllable beginnings
    {0x231A, 0x23FF},   // technical symbols
    {0x25FD, 0x27BF},   // symbols and dingbats
    {0x2B1B, 0x2B55},   // squares, stars, circles
    {0x2E80, 0xA4CF},   // Chinese, Japanese, Yi
    {0xA960, 0xA97F},   // Hangul syllable beginnings
    {0xAC00, 0xD7A3},   // Hangul
    {0xF900, 0xFAFF},   // Chinese
    {0xFE10, 0xFE6F},   // vertical and small forms
    {0xFF01, 0xFF60},   // full-width forms
    {0xFFE0, 0xFFE6},   // full-width signs
    {0x16FE0, 0x1B2FF}, // Tangut, Khitan, Nushu, Japanese
    {0x1D300, 0x1D376}, // Chinese symbols and counting rods
    {0x1F000, 0x1FAFF}, // game tiles, emoji
    {0x20000, 0x3FFFD}, // Chinese
};

int columnsOf(char32_t character)
{
    auto const category = QChar::category(character);
    if (category == QChar::Mark_NonSpacing || category == QChar::Mark_Enclosing)
        return 0;
    auto const * const range = std::ranges::lower_bound(wideRanges, character, {}, &Range::last);
    return range != std::end(wideRanges) && range->first <= character ? 2 : 1;
}

int columnsOf(std::u32string_view text)
{
    int columns = 0;
    for (char32_t const character : text)
        columns += columnsOf(character);
    return columns;
}

/// Returns the number of leading characters that fit into `columns` columns.
template <typename Text>
std::size_t lengthThatFits(Text const & text, int columns)
{
    std::size_t length = 0;
    for (char32_t const character : text) {
        columns -= columnsOf(character);
        if (columns < 0)
            break;
        ++length;
    }
    return length;
}

std::u32string_view startOf(std::u32string_view text, int columns)
{
    return text.substr(0, lengthThatFits(text, columns));
}

std::u32string_view endOf(std::u32string_view text, int columns)
{
    std::u32string const reversed(text.rbegin(), text.rend());
    return text.substr(text.size() - lengthThatFits(reversed, columns));
}

} // namespace

QString shownText(QString const & text)
{
    if (std::all_of(text.begin(), text.end(), isPlain))
        return text;
    QString shown;
    for (QString::size_type i = 0; i < text.size(); ++i) {
        bool const isPair =
            text[i].isHighSurrogate() && i + 1 < text.size() && text[i + 1].isLowSurrogate();
        QString const character = text.mid(i, isPair ? 2 : 1);
        i += isPair;
        if (isPrintable(isPair ? QChar::surrogateToUcs4(character[0], character[1])
                               : character[0].unicode())) {
            shown += character;
            continue;
        }
        for (QChar const unit : character)
            shown += QLatin1String("\\u") + hexText(unit.unicode(), 4);
    }
    return shown;
}

QString shownLines(QString const & text)
{
    QStringList lines = text.split(u'\n');
    std::transform(lines.begin(), lines.end(), lines.begin(), shownText);
    return lines.join(u'\n');
}

QString padded(QString const & text, int columns)
{
    int const missing = columns - columnsOf(text.toStdU32String());
    return text + QString(std::max(0, missing), u' ');
}

QString cutAtEnd(QString const & text, int columns)
{
    return QString::fromStdU32String(std::u32string(startOf(text.toStdU32String(), columns)));
}

QString cutInMiddle(QString const & text, int columns)
{
    std::u32string const all = text.toStdU32String();
    if (columnsOf(all) <= columns)
        return text;
    constexpr std::u32string_view gap = U"...";
    int const kept = columns - static_cast<int>(gap.size());
    if (kept < 2)
        return cutAtEnd(text, columns);
    std::u32string shown(startOf(all, kept / 3));
    shown += gap;
    shown += endOf(all, kept - kept / 3);
    return QString::fromStdU32String(shown);
}

} // namespace ox::tool
