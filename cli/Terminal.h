#pragma once

#include <cstdio>

// The little the converter asks of the console, the same on every system.
class Terminal
{
public:
    Terminal() = delete;

    // True when the stream is an interactive terminal, not a file or a pipe.
    static bool isTerminal(std::FILE* stream);

    // Width of the terminal behind the stream in characters; 80 when unknown.
    static int columns(std::FILE* stream);
};
