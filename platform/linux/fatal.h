// How the stand-in aborts where the platform does.
#pragma once

/// Logs the text as a fatal line and aborts.
[[noreturn]] void vantorPlatformFatal(const char* tag, const char* text);
