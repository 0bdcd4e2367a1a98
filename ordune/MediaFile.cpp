#include "ordune/MediaFile.h"

#include "ordune/ContainerContent.h"
#include "ordune/ContentCache.h"
#include "ordune/FileSource.h"
#include "ordune/FormatInput.h"
#include "ordune/RawContent.h"
#include "ordune/SalvageContent.h"

#include <chrono>
#include <cstring>
#include <new>
#include <utility>

namespace ordune {

namespace {

// An index that takes longer is finished while the file already plays.
constexpr std::chrono::milliseconds kIndexPatience{60};
// Tables in memory are soon gone through, so that the number of frames is as good as always exact at opening.
constexpr std::chrono::milliseconds kTablePatience{250};

class OpenedFile final : public MediaFile {
  public:
    OpenedFile(std::shared_ptr<const FileSource> file, std::shared_ptr<FileContent> content)
        : m_file(std::move(file)), m_content(std::move(content)) {}

    ~OpenedFile() override {
        m_content->Withdraw(m_subscription);
        // An index that was completed since is kept from now on: looking it up does that.
        if (m_subscription != 0 && m_content->Table().Complete()) {
            (void)ContentCache::Shared().Find(m_file->Identity());
        }
    }

    void Subscribe(std::function<void()> index_done) {
        if (index_done) m_subscription = m_content->WhenComplete(std::move(index_done));
    }

    const std::string& Path() const override { return m_file->Path(); }
    std::shared_ptr<const FileSource> Source() const override { return m_file; }
    const VideoInfo& Video() const override { return m_content->Video(); }
    const std::optional<SoundInfo>& Sound() const override { return m_content->Sound(); }
    const FrameIndex& Index() const override { return m_content->Table(); }
    MediaTime Origin() const override { return m_content->Origin(); }
    const AVCodecParameters* VideoParameters() const override { return m_content->VideoParameters(); }
    Result<std::unique_ptr<UnitReader>> MakeUnitReader(CancelToken cancel) const override {
        return m_content->MakeUnitReader(m_file, std::move(cancel));
    }

  private:
    // Immutable after opening.
    const std::shared_ptr<const FileSource> m_file;
    const std::shared_ptr<FileContent> m_content;
    std::uint64_t m_subscription = 0;
};

Result<std::shared_ptr<FileContent>> RecogniseWhole(const std::shared_ptr<const FileSource>& file) {
    Result<std::shared_ptr<FileContent>> tables = ContainerContent::MakeFromTables(file, kTablePatience);
    if (!tables || tables.Value()) return tables;
    Result<std::unique_ptr<FormatInput>> input =
        FormatInput::Open(file, FormatInput::Haste::Opening, CancelToken::Make());
    const bool raw = !input || std::strcmp(input.Value()->FormatName(), "h264") == 0;
    if (raw && RawContent::Recognise(*file)) return RawContent::Make(file, kIndexPatience);
    if (!input) return input.Failure();
    return ContainerContent::Make(file, std::move(input.Value()), kIndexPatience);
}

Result<std::shared_ptr<FileContent>> Recognise(const std::shared_ptr<const FileSource>& file) {
    Result<std::shared_ptr<FileContent>> content = RecogniseWhole(file);
    if (content) return content;
    const ErrorKind kind = content.Failure().kind;
    if (kind != ErrorKind::NotMedia && kind != ErrorKind::NoVideo && kind != ErrorKind::Damaged)
        return content;
    Result<std::shared_ptr<FileContent>> salvaged = SalvageContent::Make(file, kIndexPatience);
    return salvaged && salvaged.Value() ? salvaged : content;
}

Result<std::shared_ptr<FileContent>> FindContent(const std::shared_ptr<const FileSource>& file) {
    if (std::shared_ptr<FileContent> known = ContentCache::Shared().Find(file->Identity())) return known;
    Result<std::shared_ptr<FileContent>> content = Recognise(file);
    // A file that was written to meanwhile, or could not be read, is looked at afresh next time.
    if (content && file->Unchanged() && !file->ReadFailed())
        ContentCache::Shared().Keep(file->Identity(), content.Value());
    return content;
}

} // namespace

Result<std::shared_ptr<MediaFile>> MediaFile::Open(const std::string& path,
                                                   std::function<void()> index_done) {
    try {
        Result<std::shared_ptr<const FileSource>> file = FileSource::Open(path);
        if (!file) return file.Failure();
        Result<std::shared_ptr<FileContent>> content = FindContent(file.Value());
        if (!content) return content.Failure();
        auto opened = std::make_shared<OpenedFile>(std::move(file.Value()), std::move(content.Value()));
        opened->Subscribe(std::move(index_done));
        return std::shared_ptr<MediaFile>(std::move(opened));
    } catch (const std::bad_alloc&) {
        return Error{ErrorKind::OutOfMemory, "not enough memory to open the file", path};
    }
}

} // namespace ordune
