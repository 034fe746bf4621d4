// The kernel that compares texts with vector instructions, ignoring the case of ASCII letters.
// case_kernels.cpp includes this file once for each instruction set, in a namespace of its own. The
// namespace defines Widest, the struct of the widest vectors. The macro OX_TARGET is the attribute
// that selects the instruction set of a function. A template cannot replace the repeated inclusion,
// since this attribute cannot depend on a template parameter.

/// Returns the position of the first byte that differs, or `size` if no byte differs. `size` is at
/// least the size of a vector. The last two vectors may overlap; a single branch tests both.
template <typename Unit, typename Vector>
__attribute__((always_inline)) OX_TARGET inline int differentByte(char const * a, char const * b,
                                                                  int size)
{
    constexpr int step = sizeof(typename Vector::Type);
    auto const differencesAt = [=](int pos) OX_TARGET {
        return Vector::template differences<Unit>(Vector::load(a + pos), Vector::load(b + pos));
    };
    int pos = 0;
    for (; size - pos > 2 * step; pos += step) {
        if (std::uint32_t const differences = differencesAt(pos); differences != 0)
            return pos + std::countr_zero(differences);
    }
    auto const differences = differencesAt(pos) | std::uint64_t{differencesAt(size - step)} << step;
    if (differences == 0)
        return size;
    int const byte = std::countr_zero(differences);
    return byte < step ? pos + byte : size - 2 * step + byte;
}

/// Returns the position of the first byte that differs, or `size` if no byte differs. `size` is
/// between `half` and 2 * `half`. Each vector contains the first `half` bytes of a text, followed
/// by the last `half` bytes of the text. These two parts of the text may overlap.
template <typename Unit, typename Type>
__attribute__((always_inline)) OX_TARGET inline int differentByteInEnds(Type a, Type b, int half,
                                                                        int size)
{
    auto const differences = Vector128::differences<Unit>(a, b);
    if (differences == 0)
        return size;
    int const byte = std::countr_zero(differences);
    return byte < half ? byte : size - 2 * half + byte;
}

template <typename Unit>
__attribute__((always_inline)) OX_TARGET inline int firstMismatch(Unit const * a, Unit const * b,
                                                                  int n)
{
    constexpr int unit = sizeof(Unit);
    auto const * const x = reinterpret_cast<char const *>(a);
    auto const * const y = reinterpret_cast<char const *>(b);
    int const size = n * unit;
    if (size >= static_cast<int>(sizeof(Widest::Type)))
        return differentByte<Unit, Widest>(x, y, size) / unit;
    if (size >= 16)
        return differentByte<Unit, Vector128>(x, y, size) / unit;
    if (size >= 8)
        return differentByteInEnds<Unit>(Vector128::loadEnds8(x, size),
                                         Vector128::loadEnds8(y, size), 8, size) /
               unit;
    if (size >= 4)
        return differentByteInEnds<Unit>(Vector128::loadEnds4(x, size),
                                         Vector128::loadEnds4(y, size), 4, size) /
               unit;
    int pos = 0;
    while (pos < n && toUpper(a[pos]) == toUpper(b[pos]))
        ++pos;
    return pos;
}

template <typename Unit>
OX_TARGET int mismatch(Unit const * a, Unit const * b, int n)
{
    return firstMismatch(a, b, n);
}

template <typename Unit>
OX_TARGET int compare(Unit const * a, int lengthA, Unit const * b, int lengthB)
{
    return orderAt(firstMismatch(a, b, std::min(lengthA, lengthB)), a, lengthA, b, lengthB);
}
