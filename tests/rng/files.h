// Scratch files for the tests of saved streams.
#pragma once

#include <gtest/gtest.h>
#include <stdlib.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

namespace korb::test {

// A fresh directory, removed with everything in it when the object goes.
class TempDir {
  public:
    TempDir() {
        std::string pattern = (std::filesystem::temp_directory_path() / "korb-XXXXXX").string();
        if (mkdtemp(pattern.data()) != nullptr) path_ = pattern;
        EXPECT_FALSE(path_.empty()) << "mkdtemp failed";
    }
    ~TempDir() {
        std::error_code ignored;
        std::filesystem::remove_all(path_, ignored);
    }
    TempDir(const TempDir &) = delete;
    TempDir &operator=(const TempDir &) = delete;

    std::string operator/(const std::string &name) const { return path_ + "/" + name; }

  private:
    std::string path_;
};

inline std::vector<char> read_file(const std::string &path) {
    std::ifstream in(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

inline void write_file(const std::string &path, const std::vector<char> &bytes) {
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
}

}  // namespace korb::test
