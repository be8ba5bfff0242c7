// How a plan is said, and what a launch itself would say.
//
// Owns: headlines and lines, the scratch directory's name in place of the one that stands for it,
// the taking down of messages. Leaves to others: what there is to say.
#pragma once

#include <string>

// In all that is said from here on, `stand_in` is called `name`.
void call_scratch(const std::string& stand_in, const std::string& name);
// `text` with that name.
std::string with_scratch_name(std::string text);

// A headline, and a line below one.
void say_headline(const std::string& text);
void say(const std::string& text);
// A message of the launch, each of its lines marked.
void say_message(const std::string& message);

// Where a launch ends before it starts java; `status` is the launcher's own.
void say_end(const std::string& where, int status, const std::string& message);

// Between these, both standard streams are taken down; the second gives what was written.
void begin_taking_down();
std::string end_taking_down();
