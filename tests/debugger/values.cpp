#include "shared/oxshared.h"

#include <cstdio>
#include <cstdlib>
#include <memory>

// Contains a value of every type that has a printer. gdb_test.py checks how gdb prints each value.

int main()
{
    auto const list = std::make_unique<_oxProcessList>();
    struct {
        _oxString8_evenSize<250> even = "Jo\"b\n17";
        _oxString8_UnevenSize<25> uneven = "\xE9";
        _oxString8_AllSize<10> all;
        _oxString8_evenSize<6> damaged = "123456";
        _oxString<500> wide = QStringLiteral("Łódź 😀");
        _oxTime time{1794647107, true};
        _oxTime late{INT64_MAX, true};
        _oxTime32 time32{951826154};
        _oxCPUValue load{0.25F, 8};
        _oxCPUValue unmeasured{-1, 4};
        _oxBytePerc half{128};
        _oxStringList list;
        _oxStringList emptyList;
        _OX_DataBuffer buffer;
        _OX_DataBuffer emptyBuffer;
        _oxProcessList * processes = nullptr;
    } values;
    values.damaged.length = 65535;
    values.list.append("first", false, false);
    values.list.append("second", false, false);
    char const text[] = "frame 0001\nframe 0002\n";
    values.buffer.copyFromBuffer(text, sizeof text - 1);
    values.buffer.size = sizeof text - 1;
    values.buffer.headerValue0 = 17;
    values.emptyBuffer.loadFromFile("/none", true);
    values.processes = list.get();
    values.processes->count = 1;
    values.processes->entries[0].name = "BASH";
    values.processes->entries[0].pid = 4711;
    for (int const code :
         {-1, -2, -3, -4, -5, -6, -50, -100, -102, -103, -104, -105, -106, -107, -1000, -1002})
        std::printf("%d: %s\n", code, _OX_DataBuffer::errorString(code).c_str());
    std::fflush(stdout);
    std::abort();
}
