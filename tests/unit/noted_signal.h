// A signal that has been noted, as long as the object lives.
#pragma once

#include "platform/signals.h"

#include <unistd.h>

class NotedSignal {
  public:
    NotedSignal() {
        note_signals();
        kill(getpid(), SIGTERM);
    }
    ~NotedSignal() {
        forget_noted_signal();
    }
    NotedSignal(const NotedSignal&) = delete;
    NotedSignal& operator=(const NotedSignal&) = delete;
};
