#include "dravo/SoundOutput.h"

#include "dravo/SoundDevice.h"
#include "dravo/SoundFeed.h"

namespace dravo {

namespace {

class DeviceSoundOutput final : public SoundOutput {
  public:
    DeviceSoundOutput() : m_feed(std::make_shared<SoundFeed>()) { SoundDevice::Instance().Attach(m_feed); }
    ~DeviceSoundOutput() override {
        m_feed->Stop();
        SoundDevice::Instance().Detach(m_feed);
    }
    DeviceSoundOutput(const DeviceSoundOutput&) = delete;
    DeviceSoundOutput& operator=(const DeviceSoundOutput&) = delete;

    void Start(double tempo) override {
        m_feed->Start(tempo, std::chrono::steady_clock::now());
        SoundDevice::Instance().Wake();
    }
    void Stop() override { m_feed->Stop(); }
    void SetVolume(std::uint16_t volume) override { m_feed->SetVolume(volume); }
    std::size_t Writable() const override { return m_feed->Writable(std::chrono::steady_clock::now()); }
    void Write(std::span<const float> samples, ordune::MediaTime time) override {
        m_feed->Write(samples, time);
    }
    std::optional<SoundPosition> Position(std::chrono::steady_clock::time_point now) const override {
        return m_feed->Position(now);
    }

  private:
    const std::shared_ptr<SoundFeed> m_feed;
};

} // namespace

std::unique_ptr<SoundOutput> SoundOutput::Make() {
    return std::make_unique<DeviceSoundOutput>();
}

} // namespace dravo
