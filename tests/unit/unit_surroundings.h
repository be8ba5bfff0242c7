// The surroundings of a unit test: a message catalogue of its own, and process-wide things
// (variables, time zone, working directory, mask, user) that are put back afterwards.
#pragma once

#include "nls/catalogue.h"
#include "unit_support.h"

#include <cstdlib>
#include <ctime>
#include <grp.h>
#include <initializer_list>
#include <optional>
#include <string>
#include <sys/stat.h>
#include <sys/types.h>
#include <sys/wait.h>
#include <unistd.h>
#include <utility>

// An environment variable that has another value, or none, as long as the object lives.
class Variable {
  public:
    Variable(const char* name, const std::optional<std::string>& value) : name_(name) {
        if (const char* before = std::getenv(name))
            before_ = before;
        put(value);
    }
    ~Variable() {
        put(before_);
    }
    Variable(const Variable&) = delete;
    Variable& operator=(const Variable&) = delete;

  private:
    void put(const std::optional<std::string>& value) {
        if (value)
            setenv(name_, value->c_str(), 1);
        else
            unsetenv(name_);
    }
    const char* name_;
    std::optional<std::string> before_;
};

// Another time zone as long as the object lives.
class TimeZone {
  public:
    explicit TimeZone(const char* name) : variable_(std::in_place, "TZ", name) {
        tzset();
    }
    ~TimeZone() {
        variable_.reset();
        tzset();
    }
    TimeZone(const TimeZone&) = delete;
    TimeZone& operator=(const TimeZone&) = delete;

  private:
    std::optional<Variable> variable_;
};

// Another working directory as long as the object lives.
class WorkingDirectory {
  public:
    explicit WorkingDirectory(const std::string& path)
        : before_(std::filesystem::current_path().string()) {
        EXPECT_EQ(chdir(path.c_str()), 0) << path;
    }
    ~WorkingDirectory() {
        EXPECT_EQ(chdir(before_.c_str()), 0) << before_;
    }
    WorkingDirectory(const WorkingDirectory&) = delete;
    WorkingDirectory& operator=(const WorkingDirectory&) = delete;

  private:
    std::string before_;
};

// Another file-creation mask as long as the object lives.
class Mask {
  public:
    explicit Mask(mode_t mask) : before_(umask(mask)) {}
    ~Mask() {
        umask(before_);
    }
    Mask(const Mask&) = delete;
    Mask& operator=(const Mask&) = delete;

  private:
    mode_t before_;
};

// An open catalogue that holds the given messages. A lookup in English finds the text as given, the
// localised one the same text in angle brackets: "no room" and "<no room>".
class Catalogue {
  public:
    Catalogue(std::initializer_list<std::pair<std::string, std::string>> messages)
        : locale_("LC_ALL", "C") {
        std::string english;
        std::string localised;
        for (const auto& [key, text] : messages) {
            english.append(key).append("=").append(text) += '\0';
            localised.append(key).append("=<").append(text).append(">") += '\0';
        }
        std::filesystem::create_directory(directory_.file("resource"));
        directory_.write("resource/cons.nls", english);
        directory_.write("resource/cons_C.nls", localised);
        EXPECT_EQ(nls_open(directory_.file("setupLauncher").c_str()), 0);
    }
    ~Catalogue() {
        nls_close();
    }
    Catalogue(const Catalogue&) = delete;
    Catalogue& operator=(const Catalogue&) = delete;

  private:
    TemporaryDirectory directory_;
    Variable locale_;
};

// Runs `call` as a user whom permissions bind, in a process of its own: what it changes in this
// process is lost, and temporary directories must be made inside it. Failures inside fail the test.
template <typename Call>
void as_ordinary_user(const Call& call) {
    constexpr uid_t kNobody = 65534;
    std::fflush(nullptr);
    const pid_t child = fork();
    ASSERT_NE(child, -1);
    if (child == 0) {
        if (geteuid() == 0 &&
            (setgroups(0, nullptr) != 0 || setgid(kNobody) != 0 || setuid(kNobody) != 0))
            _exit(2);
        call();
        std::fflush(nullptr);
        _exit(testing::Test::HasFailure() ? 1 : 0);
    }
    int status = -1;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0) << "failed as an ordinary user";
}
