// Stands where java is on a machine that has nothing: shows its arguments and ends with status 7.
#include <cstdio>

int main(int count, char** words) {
    for (int at = 0; at < count; ++at)
        std::puts(words[at]);
    return 7;
}
