#include "atomicfile.h"

#include <system_error>
#include <utility>

AtomicFile::AtomicFile(std::filesystem::path target)
    : finalPath(std::move(target))
{
    temporaryPath = finalPath.parent_path() / ("." + finalPath.filename().string() + ".partial");
}

AtomicFile::~AtomicFile()
{
    if (!pending)
        return;
    out.close();
    std::error_code ignored;
    std::filesystem::remove(temporaryPath, ignored);
}

bool AtomicFile::open(std::string &error)
{
    out.open(temporaryPath, std::ios::binary | std::ios::trunc);
    if (!out) {
        error = "cannot create \"" + temporaryPath.string() + "\".";
        return false;
    }
    pending = true;
    return true;
}

bool AtomicFile::commit(std::string &error)
{
    out.flush();
    const bool written = static_cast<bool>(out);
    out.close();
    if (!written || out.fail()) {
        error = "writing \"" + finalPath.string() + "\" failed (is the disk full?).";
        return false;
    }
    std::error_code code;
    std::filesystem::rename(temporaryPath, finalPath, code);
    if (code) {
        error = "cannot replace \"" + finalPath.string() + "\": " + code.message() + ".";
        return false;
    }
    pending = false;
    return true;
}
