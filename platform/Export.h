// What the platform library shows to its users; everything else stays inside.
#pragma once

#define MESK_PLATFORM_API __attribute__((visibility("default")))
