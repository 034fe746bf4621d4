#pragma once

#include <QtGlobal>

#include <cstdint>
#include <span>

namespace ox::tool
{

/// Computes the library's checksums of data that arrives in pieces.
class RunningChecksums
{
  public:
    RunningChecksums();

    /// Adds the next bytes, at most 4 GiB. The call modifies the bytes, and restores them before it
    /// returns.
    void add(std::span<unsigned char> bytes);

    qint64 size() const { return size_; }
    std::uint8_t crc8() const { return crc8_; }
    std::uint16_t crc16() const { return crc16_; }
    std::uint32_t crc32() const { return ~crc32_; }
    std::uint64_t crc64() const { return crc64_; }

  private:
    qint64 size_ = 0;
    std::uint8_t crc8_ = 0;
    std::uint16_t crc16_ = 0;
    std::uint32_t crc32_ = 0xFFFFFFFF;
    std::uint64_t crc64_ = 0;
};

} // namespace ox::tool
