// SPDX-License-Identifier: MIT
// The dynamic loader's answers as problems.
#include "sources/camera/camera_module.h"

#include <system_error>

#include <dlfcn.h>

#include "host/problem.h"

namespace narvo::sources
{

namespace
{

[[noreturn]] void RefuseModule(const std::string& source, const std::string& what)
{
    throw HostError({{source, what,
                      "the module for cameras of this version: Debian package narvo-camera, or a build that finds "
                      "libaravis-dev (scripts/deps --camera)"}});
}

} // namespace

std::filesystem::path CameraModuleFile()
{
    std::error_code error;
    const std::filesystem::path program = std::filesystem::read_symlink("/proc/self/exe", error);
    return (program.parent_path() / NARVO_MODULE_FOLDER / "narvo_camera.so").lexically_normal();
}

CameraOpener LoadCameraModule(const std::filesystem::path& file, const std::string& source)
{
    std::error_code error;
    if (!std::filesystem::exists(file, error))
        RefuseModule(source, "no module " + file.string());
    void* const module = dlopen(file.c_str(), RTLD_NOW | RTLD_LOCAL | RTLD_NODELETE);
    if (module == nullptr)
    {
        const char* const reason = dlerror(); // NOLINT(concurrency-mt-unsafe): glibc has one for each thread
        RefuseModule(source, reason == nullptr ? file.string() + " cannot be loaded" : reason);
    }
    using VersionOf = const char* (*)();
    const auto version = reinterpret_cast<VersionOf>(dlsym(module, szCameraVersion));
    const auto opener = reinterpret_cast<CameraOpener>(dlsym(module, szCameraOpener));
    if (version == nullptr || opener == nullptr)
        RefuseModule(source, file.string() + " is another library");
    if (std::string(version()) != NARVO_CAMERA_VERSION)
        RefuseModule(source, file.string() + " of version " + version());
    return opener;
}

} // namespace narvo::sources
