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

    // While it lives, the console shows the UTF-8 the converter writes (a
    // Windows console shows its own code page otherwise, and names beyond
    // ASCII come out garbled); the console's code page is given back after.
    // Nothing to do elsewhere.
    class Utf8Output
    {
    public:
        Utf8Output();
        ~Utf8Output();
        Utf8Output(const Utf8Output&) = delete;
        Utf8Output& operator=(const Utf8Output&) = delete;

    private:
        unsigned m_previous = 0;
    };
};
