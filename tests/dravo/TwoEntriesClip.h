// An MP4 file whose pictures change their size in its middle: one track with two sample entries, as recorders
// write it that go on in the same file. libavformat writes no such files, so the boxes are written here.
#pragma once

#include "tests/support/AvHandles.h"

#include <cstdint>
#include <fstream>
#include <string>
#include <vector>

namespace dravo_tests {

class Box {
  public:
    explicit Box(const char* name) { Put(0, 4).Text(name); }
    Box& Put(std::uint64_t value, int bytes) {
        for (int shift = 8 * (bytes - 1); shift >= 0; shift -= 8)
            m_bytes.push_back(static_cast<std::uint8_t>(value >> shift));
        return *this;
    }
    Box& Zeros(int bytes) {
        m_bytes.insert(m_bytes.end(), static_cast<std::size_t>(bytes), 0);
        return *this;
    }
    Box& Text(const std::string& text) {
        m_bytes.insert(m_bytes.end(), text.begin(), text.end());
        return *this;
    }
    Box& Add(const std::vector<std::uint8_t>& bytes) {
        m_bytes.insert(m_bytes.end(), bytes.begin(), bytes.end());
        return *this;
    }
    Box& Add(const Box& box) { return Add(box.Bytes()); }
    // With its length, which stands in the first four bytes.
    std::vector<std::uint8_t> Bytes() const {
        std::vector<std::uint8_t> bytes = m_bytes;
        for (int i = 0; i < 4; ++i)
            bytes[static_cast<std::size_t>(i)] = static_cast<std::uint8_t>(bytes.size() >> (24 - 8 * i));
        return bytes;
    }

  private:
    std::vector<std::uint8_t> m_bytes;
};

// The pictures of an MP4 file as they are stored.
struct StoredPictures {
    int width = 0;
    int height = 0;
    std::vector<std::uint8_t> configuration;
    std::vector<std::vector<std::uint8_t>> samples;
    std::vector<bool> keys;

    explicit StoredPictures(const std::string& path) {
        AVFormatContext* opened = nullptr;
        support::CheckAv(avformat_open_input(&opened, path.c_str(), nullptr, nullptr), "opening " + path);
        const support::FormatHandle in(opened);
        const AVCodecParameters* parameters = opened->streams[0]->codecpar;
        width = parameters->width;
        height = parameters->height;
        configuration.assign(parameters->extradata, parameters->extradata + parameters->extradata_size);
        const support::PacketHandle packet(av_packet_alloc());
        while (av_read_frame(opened, packet.get()) == 0) {
            samples.emplace_back(packet->data, packet->data + packet->size);
            keys.push_back((packet->flags & AV_PKT_FLAG_KEY) != 0);
            av_packet_unref(packet.get());
        }
    }
    Box Entry() const {
        Box entry("avc1");
        entry.Zeros(6).Put(1, 2).Zeros(16);
        entry.Put(static_cast<std::uint64_t>(width), 2).Put(static_cast<std::uint64_t>(height), 2);
        entry.Put(0x480000, 4).Put(0x480000, 4).Zeros(4).Put(1, 2).Zeros(32).Put(0x18, 2).Put(0xFFFF, 2);
        return entry.Add(Box("avcC").Add(configuration));
    }
};

// Writes the pictures of two MP4 files without B pictures, at 25 a second, one after the other into a third.
inline void JoinAsTwoEntries(const std::string& first, const std::string& second, const std::string& to) {
    const StoredPictures parts[2] = {StoredPictures(first), StoredPictures(second)};
    const Box type = Box("ftyp").Text("isom").Put(0x200, 4).Text("isomavc1");
    Box data("mdat");
    Box sizes("stsz");
    Box keys("stss");
    Box chunks("stsc");
    Box offsets("stco");
    Box entries("stsd");
    const std::uint64_t count = parts[0].samples.size() + parts[1].samples.size();
    std::uint64_t key_count = 0;
    for (const StoredPictures& part : parts) {
        for (const bool key : part.keys)
            key_count += key ? 1 : 0;
    }
    sizes.Zeros(8).Put(count, 4);
    keys.Zeros(4).Put(key_count, 4);
    chunks.Zeros(4).Put(2, 4);
    offsets.Zeros(4).Put(2, 4);
    entries.Zeros(4).Put(2, 4);
    std::uint64_t number = 0;
    for (std::uint64_t chunk = 1; chunk <= 2; ++chunk) {
        const StoredPictures& part = parts[chunk - 1];
        entries.Add(part.Entry());
        chunks.Put(chunk, 4).Put(part.samples.size(), 4).Put(chunk, 4);
        offsets.Put(type.Bytes().size() + data.Bytes().size(), 4);
        for (std::size_t i = 0; i < part.samples.size(); ++i) {
            data.Add(part.samples[i]);
            sizes.Put(part.samples[i].size(), 4);
            ++number;
            if (part.keys[i]) keys.Put(number, 4);
        }
    }
    const auto unity = [](Box& box) {
        for (const std::uint64_t value : {0x10000U, 0U, 0U, 0U, 0x10000U, 0U, 0U, 0U, 0x40000000U})
            box.Put(value, 4);
    };
    Box movie_head("mvhd");
    movie_head.Zeros(12).Put(25, 4).Put(count, 4).Put(0x10000, 4).Put(0x100, 2).Zeros(10);
    unity(movie_head);
    movie_head.Zeros(24).Put(2, 4);
    Box track_head("tkhd");
    track_head.Put(3, 4).Zeros(8).Put(1, 4).Zeros(4).Put(count, 4).Zeros(16);
    unity(track_head);
    track_head.Put(static_cast<std::uint64_t>(parts[0].width) << 16, 4);
    track_head.Put(static_cast<std::uint64_t>(parts[0].height) << 16, 4);
    const Box table = Box("stbl")
                          .Add(entries)
                          .Add(Box("stts").Zeros(4).Put(1, 4).Put(count, 4).Put(1, 4))
                          .Add(keys)
                          .Add(chunks)
                          .Add(sizes)
                          .Add(offsets);
    const Box where = Box("dinf").Add(Box("dref").Zeros(4).Put(1, 4).Add(Box("url ").Put(1, 4)));
    const Box media = Box("mdia")
                          .Add(Box("mdhd").Zeros(12).Put(25, 4).Put(count, 4).Put(0x55C4, 2).Zeros(2))
                          .Add(Box("hdlr").Zeros(8).Text("vide").Zeros(13))
                          .Add(Box("minf").Add(Box("vmhd").Put(1, 4).Zeros(8)).Add(where).Add(table));
    const Box movie = Box("moov").Add(movie_head).Add(Box("trak").Add(track_head).Add(media));
    std::ofstream file(to, std::ios::binary);
    for (const Box* box : {&type, static_cast<const Box*>(&data), &movie}) {
        const std::vector<std::uint8_t> bytes = box->Bytes();
        file.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
    }
}

} // namespace dravo_tests
