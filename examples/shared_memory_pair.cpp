// Two processes that share a state, such as a client and its control panel:
//   shared_memory_pair write KEY     renders ten frames, waits until the last one has been shown
//   shared_memory_pair read KEY      shows the frames, ends after the last one
// Each process waits up to ten seconds for the other one.

#include "shared/system/environment.h"
#include "shared/system/shared_memory.h"
#include "shared/text/fixed_string8.h"

#include <algorithm>
#include <cstdio>
#include <string_view>

namespace
{

constexpr int lastFrame = 10;
constexpr int pauseMs = 20;
constexpr int longestWaitMs = 10000;

/// The content of the segment, which begins with zeros. A segment may contain only types whose
/// layout is the same in every build.
struct State {
    int frame; // set by the writer
    _oxString8_evenSize<100> scene;
    int shownFrame; // set by the reader
};

/// Takes the segment's lock and calls `use` with the state. Each process writes only its own
/// members: the lock is not exclusive if two processes take it at the same moment.
template <typename Use>
bool useState(oxSharedMemory & memory, Use use)
{
    if (memory.size() < static_cast<int>(sizeof(State)) || !memory.lock())
        return false;
    use(*reinterpret_cast<State *>(memory.bytes().data()));
    return memory.unlock();
}

int write(oxSharedMemory & memory)
{
    if (!memory.create(sizeof(State), false, false)) {
        std::fprintf(stderr, "no segment: %s\n", memory.errorString().c_str());
        return 1;
    }
    for (int waited = 0; waited < longestWaitMs; waited += pauseMs) {
        int shown = 0;
        useState(memory, [&](State & state) {
            state.scene = "bridge.scene";
            state.frame = std::min(state.frame + 1, lastFrame);
            shown = state.shownFrame;
        });
        if (shown == lastFrame)
            return 0;
        oxSleep(pauseMs);
    }
    std::fputs("nobody has read the last frame\n", stderr);
    return 1;
}

int read(oxSharedMemory & memory)
{
    int shown = 0;
    for (int waited = 0; waited < longestWaitMs && shown < lastFrame; waited += pauseMs) {
        if (memory.isAttached() || memory.attach()) {
            useState(memory, [&](State & state) {
                if (state.frame != shown)
                    std::printf("%s: frame %d\n", state.scene.c_str(), state.frame);
                shown = state.shownFrame = state.frame;
            });
        }
        oxSleep(pauseMs);
    }
    if (shown == lastFrame)
        return 0;
    std::fputs("nobody writes\n", stderr);
    return 1;
}

} // namespace

int main(int argc, char ** argv)
{
    std::string_view const side = argc == 3 ? argv[1] : "";
    if (side != "write" && side != "read") {
        std::fputs("usage: shared_memory_pair write|read KEY\n", stderr);
        return 2;
    }
    _oxString8_evenSize<250> const key = argv[2];
    oxSharedMemory memory(key);
    return side == "write" ? write(memory) : read(memory);
}
