// What libmesk shows to its users. Hidden is the default; a member that belongs to an exported class
// but not to the library's surface says MESK_LOCAL.
#pragma once

#define MESK_API __attribute__((visibility("default")))
#define MESK_LOCAL __attribute__((visibility("hidden")))
