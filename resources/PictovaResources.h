#pragma once

// Registers the compiled-in pictures (":/VNRSC/...", ":/Pictova/Resources/...").
// They live in a static library, so something must call this before the first
// use or the linker may leave them out; SkinStyle's constructor does. Safe to
// call more than once.
void pictovaInitResources();
