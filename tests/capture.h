// Helpers shared by the tests: capturing what code writes to standard output.
#pragma once

#include <unistd.h>

#include <cstdio>
#include <string>

namespace korb::test {

// Runs f with standard output sent to a temporary file and returns what it wrote.
template <class F>
std::string capture_stdout(F f) {
    std::fflush(stdout);
    int saved = dup(STDOUT_FILENO);
    std::FILE *tmp = std::tmpfile();
    dup2(fileno(tmp), STDOUT_FILENO);
    f();
    std::fflush(stdout);
    dup2(saved, STDOUT_FILENO);
    close(saved);
    std::string out;
    std::rewind(tmp);
    char buf[4096];
    for (size_t n; (n = std::fread(buf, 1, sizeof buf, tmp)) > 0;) out.append(buf, n);
    std::fclose(tmp);
    return out;
}

// In a death test, what the code prints to standard output must reach the matcher, which reads
// standard error.
inline void stdout_to_stderr() {
    std::fflush(stdout);
    dup2(STDERR_FILENO, STDOUT_FILENO);
}

}  // namespace korb::test
