#include "setupLauncher/launch.h"

#include "base/launcher_state.h"
#include "base/status.h"
#include "unit_surroundings.h"

namespace {

// A launch by a caller that leaves out even the program's name, in a directory of its own. A
// launch with a name belongs to the system tests.
class NamelessLaunch : public testing::Test {
  protected:
    NamelessLaunch() {
        std::filesystem::create_directory(here_);
    }
    ~NamelessLaunch() override {
        nls_close(); // a launch that finds no catalogue leaves its tables to the process's end
        launcher_state::reset();
    }

    // What it complains about.
    std::string launch() {
        const WorkingDirectory inside(here_);
        const Variable locale("LC_ALL", "C.UTF-8");
        const Variable temp("TEMP", room.path());
        const Mask mask(022);
        char* no_arguments[] = {nullptr};
        std::string complaint;
        shown_by(
            [&] { complaint = complained_by([&] { status = main_helper(0, no_arguments); }); });
        return complaint;
    }

    TemporaryDirectory room;
    int status = kOk;

  private:
    std::string here_ = room.file("here");
};

} // namespace

// Stands before the library's own: the launcher refuses the super-user, who may run these tests.
extern "C" uid_t getuid() noexcept {
    return 1000;
}

TEST_F(NamelessLaunch, LooksForItsCatalogueBelowTheCurrentDirectory) {
    EXPECT_EQ(launch(), no_catalogue_in(room.file("here/resource")));
    EXPECT_EQ(status, kNoCatalogue);
}

TEST_F(NamelessLaunch, GoesOnWithACatalogueToItsParameterFile) {
    std::filesystem::create_directory(room.file("here/resource"));
    room.write("here/resource/cons.nls", std::string("S_ERTALPARAMNFD=no %s") + '\0');
    EXPECT_EQ(launch(), "no " + room.file("here/../talparam.ini") + "\n");
    EXPECT_EQ(status, kNoParameterFile);
}
