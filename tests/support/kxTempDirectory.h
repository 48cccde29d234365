// A directory of its own for one test, removed with all that is in it at the end.
//
// Errors: a directory that cannot be made throws; removing never throws.
#pragma once

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <string_view>
#include <system_error>

#include <cerrno>

class kxTempDirectory {
public:
    kxTempDirectory()
    {
        std::string pattern = (std::filesystem::temp_directory_path() / "kxtest.XXXXXX").string();
        if (!::mkdtemp(pattern.data())) throw std::system_error(errno, std::generic_category(), pattern);
        path_ = pattern;
    }

    ~kxTempDirectory()
    {
        std::error_code ignored;
        std::filesystem::remove_all(path_, ignored);
    }

    kxTempDirectory(const kxTempDirectory&) = delete;
    kxTempDirectory& operator=(const kxTempDirectory&) = delete;

    // The absolute path, without "/" at the end.
    const std::string& path() const { return path_; }

    // The absolute path of a name inside; nothing is created.
    std::string path(std::string_view name) const { return path_ + "/" + std::string(name); }

    // Makes or replaces a file and answers its path.
    std::string write(std::string_view name, std::string_view bytes) const
    {
        std::ofstream(path(name), std::ios::binary).write(bytes.data(), std::streamsize(bytes.size()));
        return path(name);
    }

    // The bytes of a file; empty when there is none.
    std::string read(std::string_view name) const
    {
        std::ifstream file(path(name), std::ios::binary);
        return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
    }

private:
    std::string path_;
};
