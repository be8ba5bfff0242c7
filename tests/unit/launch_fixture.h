// What the tests of whole rooms share: a launch state with its defaults, a directory of their own
// to work in, a message catalogue that echoes every key with its arguments, standard input from
// elsewhere, and calls in a child process.
//
// The echo tells the console from the log: <KEY|first|second|third> is shown, and
// [KEY|first|second|third] is recorded; arguments that were not passed are empty.
#pragma once

#include "base/launcher_state.h"
#include "log/install_log.h"
#include "nls/catalogue.h"
#include "unit_support.h"

#include <fcntl.h>
#include <string_view>
#include <sys/wait.h>
#include <vector>

namespace state = launcher_state;

inline std::string echo(char open, std::string_view key, const std::vector<std::string>& args,
                        char close) {
    std::string text = open + std::string(key);
    for (std::size_t i = 0; i < 3; ++i)
        text += "|" + (i < args.size() ? args[i] : std::string());
    return text + close;
}

// What the console and the log get for `key`.
inline std::string shown(std::string_view key, const std::vector<std::string>& args = {}) {
    return echo('<', key, args, '>');
}
inline std::string logged(std::string_view key, const std::vector<std::string>& args = {}) {
    return echo('[', key, args, ']');
}

// The keys of the launcher's own catalogue.
inline const std::vector<std::string>& catalogue_keys() {
    static const std::vector<std::string> keys = [] {
        const std::string label = "msgctxt \"";
        std::vector<std::string> found;
        std::ifstream source(SOURCE_ROOT "/resource/cons.pot");
        for (std::string line; std::getline(source, line);) {
            if (line.starts_with(label))
                found.push_back(line.substr(label.size(), line.rfind('"') - label.size()));
        }
        return found;
    }();
    return keys;
}

struct Said {
    std::string out;
    std::string err;
};

// What `call` writes to both standard streams.
template <typename Call>
Said said_by(const Call& call) {
    Said said;
    said.err = complained_by([&] { said.out = shown_by(call); });
    return said;
}

// The standard input is `descriptor`, which it takes over, for as long as the object lives.
class StandardInput {
  public:
    explicit StandardInput(int descriptor) : before_(dup(STDIN_FILENO)) {
        EXPECT_GE(descriptor, 0);
        dup2(descriptor, STDIN_FILENO);
        close(descriptor);
    }
    ~StandardInput() {
        close(STDIN_FILENO);
        if (before_ >= 0) {
            dup2(before_, STDIN_FILENO);
            close(before_);
        }
    }
    StandardInput(const StandardInput&) = delete;
    StandardInput& operator=(const StandardInput&) = delete;

  private:
    int before_;
};

inline void put(int descriptor, std::string_view bytes) {
    EXPECT_EQ(write(descriptor, bytes.data(), bytes.size()), static_cast<ssize_t>(bytes.size()));
}

// The reading end of a pipe that holds `bytes` and then ends.
inline int pipe_of(std::string_view bytes) {
    int ends[2] = {-1, -1};
    EXPECT_EQ(pipe(ends), 0);
    put(ends[1], bytes);
    close(ends[1]);
    return ends[0];
}

// What is left to read from `descriptor`.
inline std::string rest_of(int descriptor) {
    std::string rest;
    char byte = '\0';
    while (read(descriptor, &byte, 1) == 1)
        rest += byte;
    return rest;
}

struct ChildEnd {
    std::string out;
    std::string err;
    int status = -1; // as waitpid tells it
};

// Runs `call` in a child process that ends with the status `call` returns, or earlier.
template <typename Call>
ChildEnd end_of_child(const Call& call) {
    const TemporaryDirectory streams;
    const auto opened = [&streams](const char* name) {
        return open(streams.file(name).c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
    };
    std::fflush(nullptr);
    const pid_t child = fork();
    if (child == 0) {
        dup2(opened("out"), STDOUT_FILENO);
        dup2(opened("err"), STDERR_FILENO);
        const int status = call();
        std::fflush(nullptr);
        _exit(status);
    }
    ChildEnd end;
    EXPECT_EQ(waitpid(child, &end.status, 0), child);
    end.out = bytes_of(streams.file("out"));
    end.err = bytes_of(streams.file("err"));
    return end;
}

class LaunchFixture : public testing::Test {
  protected:
    LaunchFixture() : working_directory_before_(std::filesystem::current_path()) {
        // "C" is a language of its own to the catalogue: its texts are shown, never logged.
        setenv("LC_ALL", "C", 1);
        unsetenv("TEMP");
        unsetenv("TMP");
        state::reset();
        state::gsTimeStamp = "STAMP";
        state::sInvPtrLocation = room.file("no_such_pointer_file");
        sLogLoc.clear();
        sTimeLogLoc.clear();

        std::filesystem::create_directory(catalogue_.file("resource"));
        std::string localised;
        std::string english;
        for (const std::string& key : catalogue_keys()) {
            localised += key + "=<" + key + "|%s|%s|%s>" + '\0';
            english += key + "=[" + key + "|%s|%s|%s]" + '\0';
        }
        catalogue_.write("resource/cons_C.nls", localised);
        catalogue_.write("resource/cons.nls", english);
        EXPECT_EQ(nls_open(catalogue_.file("setupLauncher").c_str()), 0);
    }
    ~LaunchFixture() override {
        closeLog();
        closeTimeLog();
        nls_close();
        std::error_code ignored;
        std::filesystem::current_path(working_directory_before_, ignored);
    }

    void make_directory(const std::string& name) const {
        std::filesystem::create_directories(room.file(name));
    }
    // Writes a file together with the directories it lies in.
    std::string make_file(const std::string& name, const std::string& bytes = "") const {
        std::filesystem::create_directories(std::filesystem::path(room.file(name)).parent_path());
        return room.write(name, bytes);
    }

    TemporaryDirectory room;

  private:
    TemporaryDirectory catalogue_;
    std::filesystem::path working_directory_before_;
};
