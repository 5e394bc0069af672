#pragma once

#include <filesystem>
#include <fstream>
#include <string>

// An output file that appears complete or not at all: it is written under a temporary name in
// the target's folder and renamed over the target only on commit(). An uncommitted temporary is
// removed on destruction, so a failed run leaves nothing half-written behind.
class AtomicFile
{
public:
    explicit AtomicFile(std::filesystem::path target);
    ~AtomicFile();
    AtomicFile(const AtomicFile &) = delete;
    AtomicFile &operator=(const AtomicFile &) = delete;

    bool open(std::string &error);
    std::ostream &stream() { return out; }
    bool commit(std::string &error);

private:
    std::filesystem::path finalPath;
    std::filesystem::path temporaryPath;
    std::ofstream out;
    bool pending = false;
};
