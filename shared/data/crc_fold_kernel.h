// The folding kernel for vectors of any width. crc_kernels.cpp includes this file once for each
// instruction set, in a namespace that has Vector and with the macro OX_TARGET. A template cannot
// replace the repeated inclusion, since each function must be compiled for its instruction set.

/// Folds whole vectors, at least one, to 128 bits. The result has the same remainder as the data
/// followed by as many zero bits as the register has. `nextBytes` is the register in the form of
/// asNextBytes(). `isReversed` is true for a CRC that is not reflected: the first byte of a block
/// then holds its highest powers.
template <bool isReversed>
__attribute__((always_inline)) OX_TARGET inline Block
fold(FoldConstants const & constants, std::uint64_t nextBytes, unsigned char const * data,
     std::size_t length)
{
    constexpr std::size_t size = sizeof(Vector::Type);
    constexpr std::size_t blocks = size / sizeof(Block);
    constexpr std::size_t chains = FoldConstants::chains;
    constexpr std::size_t cacheLine = 64;
    constexpr std::size_t ahead = 4096; // farther than the processor prefetches by itself

    auto x = Vector::reverseBytes<isReversed>(
        Vector::sum(Vector::load(data), Vector::withLowBits(nextBytes)));
    data += size;
    length -= size;

    if (length >= (chains - 1) * size) {
        typename Vector::Type chain[chains];
        chain[0] = x;
#pragma GCC unroll 8
        for (std::size_t i = 1; i < chains; ++i)
            chain[i] = Vector::reverseBytes<isReversed>(Vector::load(data + (i - 1) * size));
        data += (chains - 1) * size;
        length -= (chains - 1) * size;

        auto const factors = Vector::broadcast(constants.byBlocks[chains * blocks]);
        for (; length >= chains * size; data += chains * size, length -= chains * size) {
#pragma GCC unroll 8
            for (std::size_t i = 0; i < chains; ++i) {
                if (i * size % cacheLine == 0)
                    __builtin_prefetch(data + i * size + ahead);
                chain[i] =
                    Vector::fold(chain[i], factors,
                                 Vector::reverseBytes<isReversed>(Vector::load(data + i * size)));
            }
        }

        x = chain[chains - 1];
#pragma GCC unroll 8
        for (std::size_t i = 0; i < chains - 1; ++i)
            x = Vector::fold(chain[i],
                             Vector::broadcast(constants.byBlocks[(chains - 1 - i) * blocks]), x);
    }

    auto const byVector = Vector::broadcast(constants.byBlocks[blocks]);
    for (; length >= size; data += size, length -= size)
        x = Vector::fold(x, byVector, Vector::reverseBytes<isReversed>(Vector::load(data)));

    auto const behindEnd =
        Vector::load(&constants.behindEnd[FoldConstants::blocksInWidestVector - blocks]);
    return Vector::sumOfBlocks(Vector::fold(x, behindEnd, Vector::withLowBits(0)));
}

/// Advances a CRC register over `length` bytes: with tables until whole vectors are left, then by
/// folding.
template <class Crc>
OX_TARGET typename Crc::Word advance(typename Crc::Word crc, unsigned char const * data,
                                     std::size_t length)
{
    std::size_t const head = length % sizeof(Vector::Type);
    crc = advanceCrcByTables<Crc>(crc, data, head);
    if (length == head)
        return crc;
    return remainder<Crc>(fold<!Crc::isReflected>(foldConstants<Crc>, asNextBytes<Crc>(crc),
                                                  data + head, length - head));
}
