// Back-test settings addressed by their persisted key names, for tools that
// set them from text (a command line's KEY=VALUE) and list them for help.
// The names, types and order come from the one field table of
// SSimulationSetting.cpp that the INI and archive forms also read.
#pragma once

#include <vector>

#include "chartcalc/SSimulationSetting.h"
#include "chartcalc/SString.h"

namespace chartcalc::detail {

// Sets the field named by key from the text value. A field is named by its
// INI key or by its archive key (the only name of the archive-only fields
// such as "JumpValue"), ASCII case ignored. The whole value must be one
// number of the field's type: an int is an integer in the 32-bit range,
// written in decimal (optional sign) or in hexadecimal after "0x" (handy for
// colours); a double is a finite number; a text field takes any text.
// Returns 1, or 0 with an English message in *error (when error is not null)
// and the record unchanged.
int SetSettingByKey(SSimulationSetting& s, const char* key, const char* value, SString* error);

// One field as SetSettingByKey knows it.
struct SettingKey {
  const char* name;  // the INI key, or the archive key of an archive-only field
  const char* type;  // "int", "double" or "text"
  SString value;     // the field's value in the record listed, as text SetSettingByKey reads back
};

// Every field of the record (the symbol name aside), in persisted order.
std::vector<SettingKey> ListSettingKeys(const SSimulationSetting& s);

// The byte at position i of a settings text, or '\0' outside it. The cut-off
// texts ("HH:MM", "YYYY-MM-DD") are read by position, and they hold whatever
// a file, an archive or the host put there, shorter texts included.
inline char SettingTextAt(const SString& text, int i) { return i >= 0 && i < text.Length() ? text.c_str()[i] : '\0'; }

}  // namespace chartcalc::detail
