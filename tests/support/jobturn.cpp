// Takes the turn of a test that follows jobs, for a transcript: until its standard input ends.
#include <cstdio>

#include "support/jobeventturn.h"

int main() {
    const CorvixTest::JobEventTurn turn;
    std::puts("ready turn=taken");
    std::fflush(stdout);
    while (std::getchar() != EOF) {
    }
}
