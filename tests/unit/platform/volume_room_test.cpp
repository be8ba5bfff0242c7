#include "platform/volume_room.h"

#include "unit_surroundings.h"

#include <cerrno>
#include <csignal>
#include <dlfcn.h>
#include <sys/resource.h>
#include <sys/statvfs.h>

namespace {

struct statvfs volume {};
std::string asked;
bool can_be_asked = true;
int told_at_close = 0;

// What is said to another file in a directory where files have at most `size` bytes.
int refusal_with_files_of(rlim_t size) {
    const TemporaryDirectory here;
    std::signal(SIGXFSZ, SIG_IGN);
    rlimit longest{};
    EXPECT_EQ(getrlimit(RLIMIT_FSIZE, &longest), 0);
    longest.rlim_cur = size;
    EXPECT_EQ(setrlimit(RLIMIT_FSIZE, &longest), 0);
    const int error = refusal_of_a_file_in(here.path());
    EXPECT_TRUE(std::filesystem::is_empty(here.path()));
    return error;
}

class VolumeRoom : public testing::Test {
  protected:
    VolumeRoom() {
        volume = {};
        volume.f_bavail = 1000;
        volume.f_bfree = 5000; // some of them are not for everybody
        volume.f_bsize = 131072;
        volume.f_frsize = 512;
        volume.f_files = 100;
        volume.f_ffree = 20;
        volume.f_favail = 7;
        can_be_asked = true;
    }
    TemporaryDirectory here;
};

} // namespace

// Some file systems tell only here that there is no room.
extern "C" int close(int descriptor) {
    using Close = int (*)(int);
    static const auto of_the_system = reinterpret_cast<Close>(dlsym(RTLD_NEXT, "close"));
    const int result = of_the_system(descriptor);
    if (told_at_close == 0)
        return result;
    errno = told_at_close;
    return -1;
}

// Stands before the library's own, so that the numbers are exact.
extern "C" int statvfs(const char* path, struct statvfs* result) noexcept {
    asked = path;
    *result = volume;
    return can_be_asked ? 0 : -1;
}

TEST_F(VolumeRoom, CountsWhatIsFreeForEverybodyInFragmentsAndInodes) {
    const Room room = room_at(here.path());
    EXPECT_TRUE(room.known && room.files_counted);
    EXPECT_EQ(room.bytes, 512000U);
    EXPECT_EQ(room.files, 7U);
    EXPECT_EQ(room.block, 512U);
    EXPECT_EQ(asked, here.path());
}

TEST_F(VolumeRoom, IsThatOfTheLongestPartThatExists) {
    room_at(here.file("no/such/directory"));
    EXPECT_EQ(asked, here.path());
}

TEST_F(VolumeRoom, CountsLargeVolumesWithoutOverflow) {
    volume.f_bavail = 1UL << 50;
    volume.f_frsize = 4096;
    EXPECT_EQ(room_at("/").bytes, 1ULL << 62);
}

TEST_F(VolumeRoom, HasBlocksOfOneByteWhereTheirSizeIsNotTold) {
    volume.f_frsize = 0;
    EXPECT_EQ(room_at("/").block, 1U);
    EXPECT_EQ(room_at("/").bytes, 1000U);
}

TEST_F(VolumeRoom, ThatCannotBeAskedAboutIsNotKnownAndNeverShort) {
    can_be_asked = false;
    const Room room = room_at("/");
    EXPECT_FALSE(room.known);
    EXPECT_FALSE(is_short_of(room, {1U << 30, 1000}));
}

TEST_F(VolumeRoom, IsShortOfBytesOrOfInodesWhereTheyAreCounted) {
    const Room room = room_at("/");
    EXPECT_FALSE(is_short_of(room, {512000, 7}));
    EXPECT_TRUE(is_short_of(room, {512001, 0}));
    EXPECT_TRUE(is_short_of(room, {0, 8}));
    volume.f_files = 0;
    volume.f_favail = 0;
    EXPECT_FALSE(room_at("/").files_counted);
    EXPECT_FALSE(is_short_of(room_at("/"), {0, 8}));
}

TEST(RoomNeeded, IsInWholeBlocksAndOneInodeForEachFile) {
    Need need;
    for (const unsigned bytes : {0U, 1U, 512U, 513U})
        add_file(need, bytes, 512);
    EXPECT_EQ(need.bytes, 0U + 512 + 512 + 1024);
    EXPECT_EQ(need.files, 4U);
}

TEST(ErrorNumbers, OfTheFileSystemAndOfTheUsersShareSpeakOfRoom) {
    EXPECT_TRUE(speaks_of_room(ENOSPC) && speaks_of_room(EDQUOT));
    for (const int error : {0, EACCES, EROFS, ENOENT, EFBIG, EIO})
        EXPECT_FALSE(speaks_of_room(error)) << error;
}

TEST(AnotherFile, IsTriedAndLeavesNothing) {
    const TemporaryDirectory here;
    EXPECT_EQ(refusal_of_a_file_in(here.path()), 0);
    EXPECT_TRUE(std::filesystem::is_empty(here.path()));
    EXPECT_EQ(refusal_of_a_file_in(here.file("missing")), ENOENT);
    EXPECT_EQ(refusal_of_a_file_in(here.write("file", "")), ENOTDIR);
}

TEST(AnotherFile, ThatCannotBeWrittenIsRemovedAndTheReasonIsTold) {
    as_ordinary_user([] {
        const TemporaryDirectory here;
        std::signal(SIGXFSZ, SIG_IGN);
        const rlimit nothing{0, 0};
        setrlimit(RLIMIT_FSIZE, &nothing);
        EXPECT_EQ(refusal_of_a_file_in(here.path()), EFBIG);
        EXPECT_TRUE(std::filesystem::is_empty(here.path()));
    });
}

TEST(AnotherFile, ThatIsWrittenOnlyInPartFindsNoRoom) {
    as_ordinary_user([] {
        EXPECT_EQ(refusal_with_files_of(4096), 0);
        EXPECT_EQ(refusal_with_files_of(4095), ENOSPC);
    });
}

TEST(AnotherFile, IsRefusedWhereThatIsToldOnlyWhenItIsClosed) {
    as_ordinary_user([] {
        told_at_close = EDQUOT;
        EXPECT_EQ(refusal_with_files_of(4096), EDQUOT);
        // The first reason is told.
        EXPECT_EQ(refusal_with_files_of(4095), ENOSPC);
        EXPECT_EQ(refusal_with_files_of(0), EFBIG);
        told_at_close = 0;
    });
}
