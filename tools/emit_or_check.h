// The main of a table generator: with no argument it writes the table to standard output; with
// --check FILE it compares FILE with the table instead and names the make target that rewrites
// it when they differ.
#pragma once

#include <cstdio>
#include <cstring>
#include <string>

inline int emit_or_check(const char *tool, const char *target, const std::string &text, int argc,
                         char **argv) {
    if (argc == 3 && std::strcmp(argv[1], "--check") == 0) {
        std::FILE *f = std::fopen(argv[2], "rb");
        if (f == nullptr) {
            std::fprintf(stderr, "%s: cannot read %s\n", tool, argv[2]);
            return 1;
        }
        std::string committed;
        char buf[4096];
        std::size_t got;
        while ((got = std::fread(buf, 1, sizeof buf, f)) > 0) committed.append(buf, got);
        std::fclose(f);
        if (committed != text) {
            std::fprintf(stderr, "%s: %s differs from the lists; run make %s\n", tool, argv[2],
                         target);
            return 1;
        }
        return 0;
    }
    if (argc != 1) {
        std::fprintf(stderr, "usage: %s [--check FILE]\n", tool);
        return 2;
    }
    std::fputs(text.c_str(), stdout);
    return 0;
}
