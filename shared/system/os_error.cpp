#include "shared/system/os_error.h"

#include "shared/platform/result.h"

#include <algorithm>
#include <iterator>

namespace
{

struct ExceptionText {
    unsigned code;
    char const * text;
};

constexpr ExceptionText exceptionTexts[] = {
    {0xC0000005, "The thread tried to read from or write to a virtual address for which it does "
                 "not have the appropriate access. (Possible NULL Pointer)"},
    {0xC000008C, "The thread tried to access an array element that is out of bounds and the "
                 "underlying hardware supports bounds checking."},
    {0x80000003, "A breakpoint was encountered."},
    {0x80000002, "The thread tried to read or write data that is misaligned on hardware that does "
                 "not provide alignment. For example, 16-bit values must be aligned on 2-byte "
                 "boundaries; 32-bit values on 4-byte boundaries, and so on."},
    {0xC000008D, "One of the operands in a floating-point operation is denormal. A denormal value "
                 "is one that is too small to represent as a standard floating-point value."},
    {0xC000008E,
     "The thread tried to divide a floating-point value by a floating-point divisor of zero."},
    {0xC000008F, "The result of a floating-point operation cannot be represented exactly as a "
                 "decimal fraction."},
    {0xC0000090,
     "This exception represents any floating-point exception not included in this list."},
    {0xC0000091, "The exponent of a floating-point operation is greater than the magnitude allowed "
                 "by the corresponding type."},
    {0xC0000092,
     "The stack overflowed or underflowed as the result of a floating-point operation."},
    {0xC0000093, "The exponent of a floating-point operation is less than the magnitude allowed by "
                 "the corresponding type."},
    {0xC000001D, "The thread tried to execute an invalid instruction."},
    {0xC0000006, "The thread tried to access a page that was not present, and the system was "
                 "unable to load the page. For example, this exception might occur if a network "
                 "connection is lost while running a program over the network."},
    {0xC0000094, "The thread tried to divide an integer value by an integer divisor of zero."},
    {0xC0000095, "The result of an integer operation caused a carry out of the most significant "
                 "bit of the result."},
    {0xC0000026,
     "An exception handler returned an invalid disposition to the exception dispatcher. "
     "Programmers using a high-level language such as C should never encounter this exception."},
    {0xC0000025,
     "The thread tried to continue execution after a noncontinuable exception occurred."},
    {0xC0000096, "The thread tried to execute an instruction whose operation is not allowed in the "
                 "current machine mode."},
    {0x80000004, "A trace trap or other single-instruction mechanism signaled that one instruction "
                 "has been executed."},
    {0xC00000FD, "The thread used up its stack."},
};

QString errorText(int code)
{
    // The last error is read first, since other calls may replace it.
    if (code == -1)
        code = ox::platform::lastError().code;
    if (code == 0)
        return QStringLiteral("No Error.");
    if (code == 126)
        return QStringLiteral("A DLL is missing.");
    auto const message = ox::platform::errorMessage(code);
    if (!message)
        return exceptionCodeText(static_cast<unsigned>(code));
    QString const number = QString::number(code);
    if (message->empty())
        return QStringLiteral("Error %1.").arg(number);
    return QStringLiteral("Error %1: %2.").arg(number, QStringView(*message).toString());
}

} // namespace

_oxString8_evenSize<250> oxLastOSError8(int code)
{
    return errorText(code);
}

_oxString<500> oxLastOSError(int code)
{
    return errorText(code);
}

_oxString<500> exceptionCodeText(unsigned int code)
{
    _oxString<500> text;
    auto const known = std::find_if(std::begin(exceptionTexts), std::end(exceptionTexts),
                                    [code](ExceptionText const & e) { return e.code == code; });
    if (known != std::end(exceptionTexts)) {
        text = "EXCEPTION: ";
        text.add(known->text);
        return text;
    }
    if (auto const message = ox::platform::exceptionMessage(code); message && !message->empty())
        return _oxString<500>(*message);
    text = "EXCEPTION code ";
    text.addNr(static_cast<int>(code), 0);
    // Compatibility: no blank follows the dot, as in the farm's applications.
    text.add(".No system message found");
    return text;
}
