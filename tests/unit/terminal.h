// A terminal for the tests: what is typed on it arrives on its other side through the system's own
// line discipline.
#pragma once

#include <cstdlib>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <string_view>
#include <unistd.h>

class Terminal {
  public:
    Terminal() : master_(posix_openpt(O_RDWR | O_NOCTTY)) {
        EXPECT_GE(master_, 0);
        EXPECT_EQ(grantpt(master_), 0);
        EXPECT_EQ(unlockpt(master_), 0);
        kept_open_ = open_other_side();
    }
    ~Terminal() {
        close(kept_open_);
        hang_up();
    }
    Terminal(const Terminal&) = delete;
    Terminal& operator=(const Terminal&) = delete;

    // A descriptor of the side on which a program reads.
    int open_other_side() const {
        const int side = open(ptsname(master_), O_RDWR | O_NOCTTY);
        EXPECT_GE(side, 0);
        return side;
    }

    // Types `keys`, which have to complete a line, and comes back when a line can be read.
    void type(std::string_view keys) const {
        EXPECT_EQ(write(master_, keys.data(), keys.size()), static_cast<ssize_t>(keys.size()));
        pollfd arrived{};
        arrived.fd = kept_open_;
        arrived.events = POLLIN;
        EXPECT_EQ(poll(&arrived, 1, 10000), 1) << "nothing arrived";
    }

    void hang_up() {
        if (master_ >= 0)
            close(master_);
        master_ = -1;
    }

  private:
    int master_ = -1;
    int kept_open_ = -1;
};
