// SPDX-License-Identifier: MIT
// Names of sources, and the opening of each.
#include "tools/watch/watch_sources.h"

#include <iostream>
#include <string_view>
#include <utility>

#include "host/counted.h"
#include "host/problem.h"
#include "sources/camera/camera_module.h"
#include "sources/camera/camera_source.h"
#include "sources/folder_source.h"
#include "sources/pipe_source.h"
#include "sources/ring_source.h"

namespace narvo::tools
{

namespace
{

constexpr std::string_view szFolderSource = "folder:";
constexpr std::string_view szRingSource = "shm:";
constexpr std::string_view szCameraSource = "aravis:";
constexpr std::string_view szPipeSource = "pipe:-";

bool IsFolder(const WatchOptions& options)
{
    return options.source.starts_with(szFolderSource);
}

bool IsRing(const WatchOptions& options)
{
    return options.source.starts_with(szRingSource) && options.source.size() > szRingSource.size();
}

bool IsCamera(const WatchOptions& options)
{
    return options.source.starts_with(szCameraSource);
}

sources::CameraOpener CameraModule(const WatchOptions& options)
{
    return sources::LoadCameraModule(sources::CameraModuleFile(), options.source);
}

std::unique_ptr<sources::FrameSource> OpenFolder(const WatchOptions& options, const WatchLog& log,
                                                 const sources::FrameReading& reading)
{
    sources::FolderSourceOptions folder;
    folder.folder = options.source.substr(szFolderSource.size());
    folder.reading = reading;
    folder.existing = options.existing;
    if (options.resume && options.existing)
        folder.isDone = [done = log.ReadDone()](const std::string& name, const FileIdentity& identity)
        { return done.Has(name, identity); };
    auto source = std::make_unique<sources::FolderSource>(std::move(folder));
    if (source->LeftAlone() > 0)
        std::cerr << "narvo: note: " << Counted(source->LeftAlone(), "image")
                  << " lay in the folder already; --existing inspects such images\n";
    if (source->DoneBefore() > 0 && !options.quiet)
        std::cout << Counted(source->DoneBefore(), "image") << " done before" << std::endl;
    return source;
}

} // namespace

void CheckSource(const WatchOptions& options, const sources::FrameReading& reading)
{
    if (!IsFolder(options) && !IsRing(options) && !IsCamera(options) && options.source != szPipeSource)
        throw HostError({{"source", options.source, "folder:PATH, pipe:-, shm:NAME or aravis:ID"}});
    if (!IsFolder(options) && options.existing)
        throw HostError({{"--existing", options.source, "folder:PATH"}});
    if (IsCamera(options))
        CameraModule(options);
    else if (!IsFolder(options))
        sources::RequireRawShape(reading.reading, options.source);
}

std::unique_ptr<sources::FrameSource> OpenSource(const WatchOptions& options, const WatchLog& log,
                                                 const sources::FrameReading& reading, const CameraSettings& camera)
{
    if (options.source == szPipeSource)
        return std::make_unique<sources::PipeSource>(0, reading);
    if (IsRing(options))
        return std::make_unique<sources::RingSource>(options.source.substr(szRingSource.size()), reading);
    if (IsCamera(options))
        return std::make_unique<sources::CameraSource>(options.source, options.source.substr(szCameraSource.size()),
                                                       camera, reading, CameraModule(options));
    return OpenFolder(options, log, reading);
}

} // namespace narvo::tools
