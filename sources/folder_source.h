// SPDX-License-Identifier: MIT
// Image files that appear in a folder.
#pragma once

#include <array>
#include <deque>
#include <filesystem>
#include <functional>

#include "host/file/descriptor.h"
#include "sources/frame_source.h"

namespace narvo::sources
{

struct FolderSourceOptions
{
    std::filesystem::path folder;
    FrameReading reading;  ///< with a raw format, files ending in .raw and .bin are taken in place of images
    bool existing = false; ///< take what lies there already, too
    /// Of what lies there already, leaves out what was done before. Empty: nothing.
    std::function<bool(const std::string& name, const FileIdentity& identity)> isDone;
};

/// Notices files when a writer closes them or when they are moved into the folder, never before. Those that are
/// noticed together come by name. Hidden files, overlays and what is no image stay out, and so do folders below. Where
/// the system's queue of notices overflows, the folder is read anew; then a file may come twice, none is left out.
class FolderSource : public FrameSource
{
public:
    /// Watches from here on. @throws HostError where the folder cannot be watched or read
    explicit FolderSource(FolderSourceOptions options);

    std::optional<Frame> Next(const std::stop_token& stop) override;
    /// A folder has no sequence numbers, so nothing is known to be lost; files that vanish are found when they are
    /// read.
    FrameLosses Losses() const override { return {}; }
    /// Images that lay there already and are not taken.
    std::size_t LeftAlone() const { return m_leftAlone; }
    /// Of those, images that were done before.
    std::size_t DoneBefore() const { return m_doneBefore; }

private:
    struct Arrival
    {
        std::string file; ///< name in the folder
        Frame stamp;      ///< when it was noticed
    };

    bool IsWanted(const std::string& file) const;
    void ReadNotices();
    /// Queues what lies in the folder. `again`: after an overflow.
    void Scan(bool again);
    void LookAtUnsettled();
    void Queue(std::vector<std::string> files);
    Frame Take();

    static constexpr std::size_t nRemembered = 65536;
    static constexpr std::uint64_t nByReading = 1; ///< bit of a key: found by reading the folder anew
    std::uint64_t KeyOf(const std::string& file) const;
    bool IsRemembered(std::uint64_t key) const;
    void Remember(std::uint64_t key);

    FolderSourceOptions m_options;
    Descriptor m_notices;
    std::int64_t m_since = 0; ///< files that changed earlier lay there already, nanoseconds since 1970
    std::size_t m_leftAlone = 0;
    std::size_t m_doneBefore = 0;
    std::deque<Arrival> m_arrived;
    std::vector<std::string> m_unsettled;    ///< found by reading the folder, perhaps still being written
    std::vector<std::uint64_t> m_remembered; ///< ring of the files that came last, for reading the folder anew
    std::size_t m_nextRemembered = 0;
    bool m_readAgain = false;
    std::uint64_t m_number = 0;
    bool m_ended = false;
};

} // namespace narvo::sources
