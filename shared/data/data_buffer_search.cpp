#include "shared/data/byte_search.h"
#include "shared/data/data_buffer.h"

using ox::data::ByteSearch;

int _OX_DataBuffer::indexOf(_oxString8_evenSize<250> const & pattern, int from) const
{
    return ByteSearch<false>(pattern.view()).find(bytesAt(0, size), from);
}

int _OX_DataBuffer::indexOfIgnCase(_oxString8_evenSize<250> const & pattern, int from) const
{
    return ByteSearch<true>(pattern.view()).find(bytesAt(0, size), from);
}
