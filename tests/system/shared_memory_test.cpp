#include "shared/system/os_error.h"
#include "tests/system/shared_memory_fixture.h"

#include <QElapsedTimer>

#include <algorithm>
#include <limits>
#include <vector>

using namespace ox::tests;

namespace
{

TEST_F(SharedMemory, BeginsDetachedWithBothNames)
{
    EXPECT_EQ(memory.localName().view(), "OX_" + key + "_1234567");
    EXPECT_EQ(memory.globalName().view(), "Global\\OX_" + key + "_1234567");
    EXPECT_FALSE(memory.isAttached());
    EXPECT_TRUE(memory.usesGlobalName());
    EXPECT_EQ(memory.size(), -9);
    EXPECT_EQ(memory.data(), nullptr);
    EXPECT_EQ(failure(memory), "-1 Not attached.");
    EXPECT_TRUE(memory.bytes().empty());
    EXPECT_TRUE(memory.detach());
    EXPECT_EQ(failure(memory), "0 ");
}

TEST_F(SharedMemory, RefusesInvalidSizes)
{
    constexpr int largest = std::numeric_limits<int>::max();
    for (int const size : {0, -1, largest, largest - 7}) {
        EXPECT_FALSE(memory.create(size, true, true)) << size;
        EXPECT_EQ(failure(memory), "-1 Create: size out of range");
    }
    EXPECT_FALSE(other.attach());
    EXPECT_EQ(failure(other), std::string("5 OpenFileMappingA: ") + oxLastOSError8(2).c_str());
    EXPECT_FALSE(other.isAttached());
}

TEST_F(SharedMemory, IsSharedByAllThatAttach)
{
    ASSERT_TRUE(memory.create(100, true, true)) << failure(memory);
    EXPECT_EQ(memory.size(), 100);
    ASSERT_EQ(memory.bytes().size(), 100u);
    ASSERT_TRUE(other.attach()) << failure(other);
    EXPECT_EQ(other.usesGlobalName(), memory.usesGlobalName());
    EXPECT_EQ(other.size() % 4096, 4096 - 8);
    auto const header = static_cast<std::byte const *>(other.data()) - 8;
    EXPECT_TRUE(std::all_of(header, header + 8 + other.size(),
                            [](std::byte b) { return b == std::byte{}; }));

    memory.bytes()[99] = std::byte{7};
    EXPECT_EQ(other.bytes()[99], std::byte{7});
    other.bytes().back() = std::byte{8};
    ASSERT_TRUE(other.lock());
    EXPECT_EQ(header[0], std::byte{1});
    EXPECT_TRUE(memory.isLocked());
    EXPECT_TRUE(other.unlock());
    EXPECT_EQ(header[0], std::byte{0});
}

TEST_F(SharedMemory, HasOneCreator)
{
    Child child(childProgram, {u"create"_q, keyText, u"100"_q});
    ASSERT_TRUE(child.hasPrinted());
    EXPECT_FALSE(memory.create(100, true, true));
    EXPECT_EQ(failure(memory), "4 CreateFileMapping: already exists");
    EXPECT_FALSE(memory.isAttached());
    EXPECT_TRUE(memory.attach());
    EXPECT_EQ(failure(memory), "0 ");
    EXPECT_FALSE(memory.create(100, true, true));
    EXPECT_EQ(failure(memory), "-1 We are already attached to memory.");
    EXPECT_TRUE(memory.isAttached());
    EXPECT_EQ(child.finish(), 0);
}

TEST_F(SharedMemory, HasOneCreatorEvenAtTheSameMoment)
{
    expectAllSucceed(4, childProgram, {u"contend"_q, keyText, u"300"_q});
    EXPECT_FALSE(memory.attach());
    EXPECT_EQ(memory.error(), oxSharedMemory::DoesNotExist);
}

TEST_F(SharedMemory, PrefersTheGlobalSegmentUntilItHasUsedTheLocalOne)
{
    ASSERT_TRUE(memory.create(10, false, false)) << failure(memory);
    EXPECT_FALSE(memory.usesGlobalName());
    ASSERT_TRUE(other.attach()) << failure(other);
    EXPECT_FALSE(other.usesGlobalName());

    oxSharedMemory global(key.c_str());
    ASSERT_TRUE(global.create(10, true, false)) << failure(global);
    ASSERT_TRUE(other.attach());
    EXPECT_FALSE(other.usesGlobalName());
    oxSharedMemory fresh(key.c_str());
    ASSERT_TRUE(fresh.attach());
    EXPECT_TRUE(fresh.usesGlobalName());

    // If create() fails with AlreadyExists for the local segment, attach() opens the local segment.
    oxSharedMemory late(key.c_str());
    EXPECT_FALSE(late.create(10, false, false));
    ASSERT_TRUE(late.attach());
    EXPECT_FALSE(late.usesGlobalName());
    memory.bytes()[0] = std::byte{1};
    EXPECT_EQ(late.bytes()[0], std::byte{1});
    EXPECT_EQ(fresh.bytes()[0], std::byte{0});
}

TEST_F(SharedMemory, LivesWhileAProcessIsAttached)
{
    for (bool const attachInTime : {true, false}) {
        Child creator(childProgram, {u"create"_q, keyText, u"100"_q});
        ASSERT_TRUE(creator.hasPrinted());
        if (attachInTime) {
            ASSERT_TRUE(memory.attach());
            memory.bytes()[0] = std::byte{9};
        }
        creator.kill();
        EXPECT_EQ(other.attach(), attachInTime) << failure(other);
        if (attachInTime) {
            EXPECT_EQ(other.bytes()[0], std::byte{9});
            EXPECT_EQ(Child(childProgram, {u"create"_q, keyText, u"100"_q}).finish(),
                      oxSharedMemory::AlreadyExists);
        }
        other.detach();
        memory.detach();
        ASSERT_TRUE(other.create(20000, true, true)) << failure(other);
        EXPECT_TRUE(std::ranges::all_of(other.bytes(), [](auto b) { return b == std::byte{}; }));
        other.detach();
    }
}

TEST_F(SharedMemory, RefusesInvalidLockAndUnlockCalls)
{
    EXPECT_FALSE(memory.lock());
    EXPECT_EQ(failure(memory), "-1 lock: not attached");
    EXPECT_FALSE(memory.unlock());
    EXPECT_EQ(failure(memory), "-1 unlock: not attached");
    ASSERT_TRUE(memory.create(10, true, true));
    EXPECT_FALSE(memory.unlock());
    EXPECT_EQ(failure(memory), "-1 unlock: not locked by us");
    ASSERT_TRUE(memory.lock());
    EXPECT_EQ(failure(memory), "0 ");
    EXPECT_FALSE(memory.lock());
    EXPECT_EQ(failure(memory), "-1 lock: already locked by us");

    ASSERT_TRUE(other.attach());
    EXPECT_FALSE(other.unlock());
    memory.detach();
    EXPECT_FALSE(other.isLocked()) << "detach() releases the lock";
    EXPECT_TRUE(other.lock());
}

TEST_F(SharedMemory, WaitsTwoSecondsForTheLockOfAKilledHolder)
{
    ASSERT_TRUE(memory.create(10, true, true));
    Child holder(childProgram, {u"lock"_q, keyText});
    ASSERT_TRUE(holder.hasPrinted());
    holder.kill();
    QElapsedTimer timer;
    timer.start();
    EXPECT_FALSE(memory.lock());
    EXPECT_GE(timer.elapsed(), 1990);
    EXPECT_EQ(failure(memory), "-1 lock: unable to get lock");
    EXPECT_TRUE(memory.isLocked());
}

TEST_F(SharedMemory, LosesNoUpdateUnderTheLock)
{
    ASSERT_TRUE(memory.create(1, true, true));
    expectAllSucceed(2, childProgram, {u"increment"_q, keyText, u"25"_q});
    EXPECT_EQ(memory.bytes()[0], std::byte{50});
}

TEST_F(SharedMemory, AcceptsAnyKeyAndDistinguishesKeys)
{
    std::vector<std::string> keys = {"", "/", "%", "a/b", "a%b", "../../a", "\xE4", "Global"};
    for (int const length : {200, 250})
        keys.emplace_back(static_cast<std::size_t>(length), '/');
    std::vector<std::unique_ptr<oxSharedMemory>> segments;
    for (std::string const & each : keys) {
        for (bool const global : {true, false}) {
            segments.push_back(std::make_unique<oxSharedMemory>((key + each).c_str()));
            oxSharedMemory & created = *segments.back();
            ASSERT_TRUE(created.create(10, global, false)) << each << ": " << failure(created);
        }
        oxSharedMemory attached((key + each).c_str());
        ASSERT_TRUE(attached.attach()) << each << ": " << failure(attached);
        EXPECT_TRUE(attached.usesGlobalName());
    }
}

} // namespace
