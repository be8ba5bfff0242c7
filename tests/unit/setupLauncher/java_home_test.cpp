#include "setupLauncher/java_home.h"

#include "base/launcher_state.h"
#include "base/status.h"
#include "log/install_log.h"
#include "unit_surroundings.h"

namespace {

// What a check of a Java home leads to.
struct Verdict {
    int status = 0;
    std::string shown;
    std::string logged;
    bool operator==(const Verdict&) const = default;
};

std::ostream& operator<<(std::ostream& out, const Verdict& verdict) {
    return out << verdict.status << " shown \"" << verdict.shown << "\" logged \"" << verdict.logged
               << '"';
}

const Verdict kAccepted{kOk, "", ""};
const Verdict kNoRuntime{kFailed, "\n\n<no runtime>", "no runtime"};
const Verdict kNoDevelopmentKit{kFailed, "\n\n<no development kit>", "no development kit"};

class JavaHome : public testing::Test {
  protected:
    JavaHome() {
        launcher_state::reset();
        std::filesystem::create_directories(here.file("jre/lib"));
        here.write("jre/lib/rt.jar", "");
        std::filesystem::create_directories(here.file("core/lib"));
        here.write("core/lib/core.jar", "");
        std::filesystem::create_directories(here.file("jdk/jre/lib"));
        std::filesystem::create_directories(here.file("jdk/lib"));
        here.write("jdk/jre/lib/rt.jar", "");
        here.write("jdk/lib/tools.jar", "");
        jre = here.file("jre");
        core = here.file("core");
        jdk = here.file("jdk");
    }
    ~JavaHome() override {
        launcher_state::reset();
    }

    Verdict validated(const std::string& home, bool own_location = true) const {
        const TemporaryDirectory logs;
        openLog(logs.path(), logs.file("none"), "", "/log");
        Verdict verdict;
        verdict.shown = shown_by(
            [&] { verdict.status = validateJavaHome(home, here.file("no.ini"), own_location); });
        closeLog();
        verdict.logged = bytes_of(logs.file("log.log"));
        return verdict;
    }

    TemporaryDirectory here;
    std::string jre;
    std::string core;
    std::string jdk;
    Catalogue catalogue{{"S_INVALID_JRE_HOME", "no runtime"},
                        {"S_INVALID_JDK_HOME", "no development kit"}};
};

std::string source_location(std::string location) {
    std::vector<std::string> arguments{"java"};
    AddSourceLocation(location, arguments, "/stage/ini");
    if (arguments.size() != 3 || arguments[0] != "java" || arguments[1] != "-sourceLoc")
        return "(" + std::to_string(arguments.size()) + " arguments)";
    EXPECT_EQ(arguments[2], location);
    return arguments[2];
}

} // namespace

TEST_F(JavaHome, IsARuntimeWithRtJarInItsLibDirectory) {
    EXPECT_TRUE(isJreHome(jre));
    EXPECT_TRUE(isJreHome(jre + "/"));
}

TEST_F(JavaHome, IsARuntimeWithCoreJarInItsLibDirectory) {
    EXPECT_TRUE(isJreHome(core));
}

TEST_F(JavaHome, IsNoRuntimeWithNeither) {
    EXPECT_FALSE(isJreHome(jdk));
    EXPECT_FALSE(isJreHome(here.file("missing")));
    EXPECT_FALSE(isJreHome(""));
}

TEST_F(JavaHome, IsNotCheckedUnlessTheOperatorChoseIt) {
    launcher_state::useJreOnly = "TRUE";
    launcher_state::useJdkOnly = "TRUE";
    EXPECT_EQ(validated(jre, false), kAccepted);
    EXPECT_EQ(validated(jdk, false), kAccepted);
}

TEST_F(JavaHome, IsCheckedWhenItCameFromTheCommandLine) {
    launcher_state::useJreOnly = "TRUE";
    launcher_state::_bJreLocation = true;
    EXPECT_EQ(validated(jdk, false), kNoRuntime);
    EXPECT_EQ(validated(jre, false), kAccepted);
}

TEST_F(JavaHome, IsNotCheckedWithoutADemand) {
    launcher_state::_bisJre = true;
    EXPECT_EQ(validated(jre), kAccepted);
    EXPECT_EQ(validated(jdk), kAccepted);
    EXPECT_TRUE(launcher_state::_bisJre);
}

TEST_F(JavaHome, IsNotCheckedForADemandThatIsNotExactlyTrue) {
    for (const char* text : {"True", "true", "T", "TRUE ", "FALSE", "TRUER"}) {
        launcher_state::useJreOnly = text;
        launcher_state::useJdkOnly = text;
        EXPECT_EQ(validated(jre), kAccepted) << text;
        EXPECT_EQ(validated(jdk), kAccepted) << text;
    }
}

TEST_F(JavaHome, MustBeARuntimeWhenARuntimeIsDemanded) {
    launcher_state::useJreOnly = "TRUE";
    EXPECT_EQ(validated(jre), kAccepted);
    EXPECT_EQ(validated(core), kAccepted);
    EXPECT_EQ(validated(jdk), kNoRuntime);
}

TEST_F(JavaHome, MustBeNoRuntimeWhenADevelopmentKitIsDemanded) {
    launcher_state::useJdkOnly = "TRUE";
    EXPECT_EQ(validated(jdk), kAccepted);
    EXPECT_EQ(validated(jre), kNoDevelopmentKit);
    EXPECT_EQ(validated(core), kNoDevelopmentKit);
}

TEST_F(JavaHome, IsRejectedOneWayOrTheOtherWhenBothAreDemanded) {
    launcher_state::useJreOnly = "TRUE";
    launcher_state::useJdkOnly = "TRUE";
    EXPECT_EQ(validated(jre), kNoDevelopmentKit);
    EXPECT_EQ(validated(jdk), kNoRuntime);
}

TEST_F(JavaHome, ThatIsCheckedTellsTheLaunchWhetherItIsARuntime) {
    launcher_state::useJreOnly = "TRUE";
    validated(jre);
    EXPECT_TRUE(launcher_state::_bisJre);
    validated(jdk);
    EXPECT_FALSE(launcher_state::_bisJre);
}

TEST_F(JavaHome, IsRejectedOnTheConsoleAlsoWithoutALog) {
    launcher_state::useJreOnly = "TRUE";
    EXPECT_EQ(shown_by([&] { EXPECT_EQ(validateJavaHome(jdk, "", true), kFailed); }),
              "\n\n<no runtime>");
}

TEST_F(JavaHome, HasAProgramThatIsPresentWithoutBeingExecutable) {
    EXPECT_TRUE(IsJrePresent(here.file("jre/lib/rt.jar").c_str()));
    EXPECT_FALSE(IsJrePresent(here.file("jre/bin/java").c_str()));
    EXPECT_FALSE(IsJrePresent(nullptr));
}

TEST(IsStartWithHttp, HoldsInAnyCase) {
    EXPECT_TRUE(isStartWithHttp("http://host/x"));
    EXPECT_TRUE(isStartWithHttp("HTTP://host/x"));
    EXPECT_TRUE(isStartWithHttp("hTtP://h"));
}

TEST(IsStartWithHttp, DoesNotHoldForThePrefixAlone) {
    EXPECT_FALSE(isStartWithHttp("http://"));
    EXPECT_FALSE(isStartWithHttp("http:/"));
    EXPECT_FALSE(isStartWithHttp(""));
}

TEST(IsStartWithHttp, DoesNotHoldForAnythingElse) {
    EXPECT_FALSE(isStartWithHttp("https://host"));
    EXPECT_FALSE(isStartWithHttp("xhttp://host"));
    EXPECT_FALSE(isStartWithHttp("ftp://host/x"));
}

TEST(AddSourceLocation, AddsNothingWithoutALocation) {
    EXPECT_EQ(source_location(""), "(1 arguments)");
}

TEST(AddSourceLocation, PassesAWebAddressOnUnchanged) {
    EXPECT_EQ(source_location("HTTP://host/x"), "HTTP://host/x");
    EXPECT_EQ(source_location("http://host/x"), "http://host/x");
}

TEST(AddSourceLocation, JoinsAnyOtherLocationToTheParameterFilesDirectory) {
    EXPECT_EQ(source_location("stage/x"), "/stage/ini/stage/x");
    EXPECT_EQ(source_location("http://"), "/stage/ini/http://");
    EXPECT_EQ(source_location("/stage/x"), "/stage/ini//stage/x");
}
