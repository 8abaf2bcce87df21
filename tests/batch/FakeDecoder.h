#pragma once

#include <QByteArray>
#include <QList>
#include <QSet>

#include <cstdint>

// A stand-in for the decoding library that the tests can hold up: while the
// gate is shut every call waits for a permit, so a test knows exactly which
// files the workers hold and which are done. Inputs are fake photos made by
// makeInput(); the output is one small real JPEG. Locks are std::mutex so
// ThreadSanitizer sees every hand-over.
namespace FakeDecoder {

// The file contents for a photo called `name`: the name, then padding.
QByteArray makeInput(const QByteArray& name);

// Forgets everything and opens the gate. Call with no worker running.
void reset();
void shutGate();
void openGate();
void release(int permits);

// The library's entry point.
int32_t convert(const uint8_t* input, int32_t inputSize, int32_t quality, uint8_t* output,
                int32_t outputCapacity, const char* scratchName);

int entered();                 // calls so far
QList<QByteArray> seenNames(); // names of the inputs, in the order the calls began
QSet<int> seenQualities();

// An input whose name starts with this fails like an undecodable file.
extern const QByteArray kBrokenPrefix;

} // namespace FakeDecoder
