// The folding kernel for vectors of any width. crc_kernels.cpp includes this file once for each
// instruction set: `Vector` is the vector type, OX_TARGET the compiler's target attribute. A
// template cannot replace the inclusions, since each function must be compiled for its instruction
// set.

/// Moves each block to the position half a block past the end of the data (see
/// FoldConstants::behindEnd) and returns the sum of the moved blocks. First adds `carried` to the
/// first block. `factors` has one entry for each block.
template <bool isReversed>
__attribute__((always_inline)) OX_TARGET inline Block
moveBehindEnd(Block carried, FoldFactors const * factors, unsigned char const * data,
              std::size_t blocks)
{
    // NOLINTNEXTLINE(bugprone-sizeof-expression): a vector can be a single block
    constexpr std::size_t blocksInVector = sizeof(Vector::Type) / sizeof(Block);
    auto sum = Vector128::withLowBits(0);
    if (blocks >= blocksInVector) {
        auto x = Vector::sum(Vector::reverseBytes<isReversed>(Vector::load(data)),
                             Vector::withLowBlock(carried));
        auto sums = Vector::fold(x, Vector::load(factors), Vector::withLowBits(0));
        while ((blocks -= blocksInVector) >= blocksInVector) {
            data += sizeof(Vector::Type);
            factors += blocksInVector;
            x = Vector::reverseBytes<isReversed>(Vector::load(data));
            sums = Vector::fold(x, Vector::load(factors), sums);
        }
        sum = Vector::sumOfBlocks(sums);
        if (blocks == 0)
            return sum;
        data += sizeof(Vector::Type);
        factors += blocksInVector;
        carried = Vector128::withLowBits(0);
    }
    for (; blocks > 0; --blocks, ++factors, data += sizeof(Block)) {
        auto const x = Vector128::reverseBytes<isReversed>(Vector128::load(data));
        sum = Vector128::fold(Vector128::sum(x, carried), Vector128::load(factors), sum);
        carried = Vector128::withLowBits(0);
    }
    return sum;
}

/// Folds FoldConstants::atOnce or more blocks into one block at the position half a block past
/// the end of the data. First adds `carried` to the first block.
template <bool isReversed>
__attribute__((always_inline)) OX_TARGET inline Block
foldLong(FoldConstants const & constants, Block carried, unsigned char const * data,
         std::size_t blocks)
{
    constexpr std::size_t size = sizeof(Vector::Type);
    constexpr std::size_t blocksInVector = size / sizeof(Block);
    constexpr std::size_t chains = FoldConstants::chains;
    constexpr std::size_t step = chains * blocksInVector;
    constexpr std::size_t cacheLine = 64;
    constexpr std::size_t ahead = 4096; // farther than the processor prefetches by itself

    typename Vector::Type chain[chains];
#pragma GCC unroll 8
    for (std::size_t i = 0; i < chains; ++i)
        chain[i] = Vector::reverseBytes<isReversed>(Vector::load(data + i * size));
    chain[0] = Vector::sum(chain[0], Vector::withLowBlock(carried));
    data += chains * size;
    blocks -= step;

    auto const factors = Vector::broadcast(constants.byBlocks[step]);
    for (; blocks >= step; data += chains * size, blocks -= step) {
#pragma GCC unroll 8
        for (std::size_t i = 0; i < chains; ++i) {
            if (i * size % cacheLine == 0)
                __builtin_prefetch(data + i * size + ahead);
            chain[i] = Vector::fold(
                chain[i], factors, Vector::reverseBytes<isReversed>(Vector::load(data + i * size)));
        }
    }

    FoldFactors const * const behindEnd =
        constants.behindEnd.data() + FoldConstants::atOnce - step - blocks;
    auto sums = Vector::withLowBits(0);
#pragma GCC unroll 8
    for (std::size_t i = 0; i < chains; ++i)
        sums = Vector::fold(chain[i], Vector::load(behindEnd + i * blocksInVector), sums);
    return Vector128::sum(
        Vector::sumOfBlocks(sums),
        moveBehindEnd<isReversed>(Vector128::withLowBits(0), behindEnd + step, data, blocks));
}

/// Advances a CRC register over `length` bytes: with tables if `length` is less than a block, else
/// by folding. If `length` is not a multiple of the block size, the first bytes form the head, and
/// whole blocks follow. Zeros before the head fill it up to a block and do not change the result.
template <class Crc>
OX_TARGET typename Crc::Word advance(typename Crc::Word crc, unsigned char const * data,
                                     std::size_t length)
{
    constexpr bool isReversed = !Crc::isReflected;
    FoldConstants const & constants = foldConstants<Crc>;
    if (length < sizeof(Block))
        return advanceCrcShort<Crc>(crc, data, length);

    std::size_t const headLength = length % sizeof(Block);
    std::size_t const blocks = length / sizeof(Block);
    bool const isLong = blocks >= FoldConstants::atOnce;
    FoldFactors const * const behindEnd =
        constants.behindEnd.data() + FoldConstants::atOnce - (isLong ? 0 : blocks);

    auto const start = Vector128::withLowBits(asNextBytes<Crc>(crc));
    auto carried = Vector128::reverseBytes<isReversed>(start);
    auto sum = Vector128::withLowBits(0);
    if (headLength != 0) {
        auto const head = Vector128::reverseBytes<isReversed>(Vector128::shuffle(
            Vector128::sum(Vector128::load(data), start), byteShifts.data() + headLength));
        // If the head is shorter than the register, the remaining bytes of the register are added
        // to the first block.
        carried = Vector128::reverseBytes<isReversed>(
            Vector128::shuffle(start, byteShifts.data() + sizeof(Block) + headLength));
        data += headLength;
        if (isLong)
            carried = Vector128::fold(head, Vector128::load(&constants.byBlocks[1]), carried);
        else
            sum = Vector128::fold(head, Vector128::load(behindEnd - 1), sum);
    }
    sum = Vector128::sum(sum, isLong ? foldLong<isReversed>(constants, carried, data, blocks)
                                     : moveBehindEnd<isReversed>(carried, behindEnd, data, blocks));
    return remainder<Crc>(sum);
}
