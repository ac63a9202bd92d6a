// The processor-type word: which processor class this process runs on.
#pragma once

namespace korb::frame {

// Reads a KORB_DEBUG_CPU_TYPE value (at most its first 32 characters) the way the override is
// defined: the decimal number at its start; a result of 0 counts only for the exact text "0" (any
// other text giving 0 counts as -1000). Returns the class 0..5 it forces, or -1 for no override
// (absent, unparsable, negative, or 6 and above).
int parse_cpu_override(const char *text);

// The class that the processor's features and the operating system's saved state allow.
int detect_cpu_class();

// The processor-type word, deciding it on first use: -6 when detected, 0..5 when forced.
int processor_type_word();

// The class in force (forced or detected); *forced tells which when non-null.
int processor_class(bool *forced);

}  // namespace korb::frame
