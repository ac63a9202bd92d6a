// The numbered messages: the built-in table and the text lookup behind korbMessage.
#pragma once

#include <cstddef>

namespace korb::frame {

struct MessageRow {
    int number;
    int category;  // 4 for most rows, 2 for the loader warnings 3 and 4
    const char *text;
};

// The built-in row of `number`, or null when the table has none.
const MessageRow *builtin_message(int number);

// The text of message `number`: the catalogue's entry (trailing newline and carriage return
// removed, copied into `scratch`) when the catalogue has it, else the built-in text, else "".
const char *message_text(int number, char *scratch, std::size_t scratch_size);

}  // namespace korb::frame
