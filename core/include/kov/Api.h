#pragma once

// Symbols of the core library stay visible even when a client builds with hidden visibility.
#define KOV_CORE_API __attribute__((visibility("default")))
