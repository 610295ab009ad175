// camera-feed: publishes what it reads on standard input (YUV4MPEG2, 4:2:0) as a PipeWire camera.
//
//     ffmpeg ... -f yuv4mpegpipe -pix_fmt yuv420p - | camera-feed --name "Session Camera" [--rate 30] [--count FILE]
//         [--property KEY=VALUE] [--grey yes]
//
// --count keeps the number of frames shown so far in FILE. --property is one more property of the node. --grey makes it
// a camera without colours, of which the brightness is shown. SIGUSR1 freezes the picture, and lets it go on: frames
// still come, all alike.
//
// The node drives its own graph from an absolute timer, so its rate does not drift, and it reads a new frame only while
// somebody watches: an unwatched camera stands still and holds its reader's pipe back. Every frame is shown once, at
// the rate of the stream's header or of --rate, whatever the footage was recorded at. GStreamer's pipewiresink would
// do the same in one line, but the one of PipeWire 0.3.65 dies on its first buffer in provide mode.

#include <pipewire/pipewire.h>
#include <spa/param/video/format-utils.h>

#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <memory>
#include <sstream>
#include <string>
#include <string_view>
#include <unistd.h>
#include <vector>

namespace {

/// The stream on standard input: its header, then one frame after the other.
class Footage {
public:
    uint32_t width = 0;
    uint32_t height = 0;
    spa_fraction rate { 0, 1 };

    /// Reads the stream's header line; false if this is no YUV4MPEG2 stream of 4:2:0 pictures.
    bool readHeader()
    {
        std::istringstream words(readLine());
        std::string word;
        words >> word;
        if (word != "YUV4MPEG2")
            return false;
        bool isHalfChroma = true;
        while (words >> word) {
            const std::string value = word.substr(1);
            if (word[0] == 'W')
                width = static_cast<uint32_t>(std::stoul(value));
            else if (word[0] == 'H')
                height = static_cast<uint32_t>(std::stoul(value));
            else if (word[0] == 'F')
                std::sscanf(value.c_str(), "%u:%u", &rate.num, &rate.denom);
            else if (word[0] == 'C')
                isHalfChroma = value.starts_with("420");
        }
        return isHalfChroma && width != 0 && height != 0 && width % 2 == 0 && height % 2 == 0;
    }

    size_t frameSize() const { return size_t { width } * height * 3 / 2; }

    /// Reads the next frame; false at the end of the stream.
    bool readFrame(std::vector<uint8_t>& frame)
    {
        if (!readLine().starts_with("FRAME"))
            return false;
        frame.resize(frameSize());
        return std::fread(frame.data(), 1, frame.size(), stdin) == frame.size();
    }

private:
    std::string readLine()
    {
        std::string line;
        for (int character; (character = std::fgetc(stdin)) != EOF && character != '\n' && line.size() < 4096;)
            line.push_back(static_cast<char>(character));
        return line;
    }
};

struct LoopDeleter {
    void operator()(pw_main_loop* loop) const { pw_main_loop_destroy(loop); }
};
struct StreamDeleter {
    void operator()(pw_stream* stream) const { pw_stream_destroy(stream); }
};

/// The camera node. Everything happens on the main loop.
class Camera {
public:
    struct Options {
        std::string description = "Session Camera";
        int countFile = -1;
        std::vector<std::string> properties; ///< "key=value"
        bool isGrey = false;
    };
    Camera(Footage& footage, Options options)
        : m_footage(footage)
        , m_options(std::move(options))
        , m_loop(pw_main_loop_new(nullptr))
    {
    }

    int run()
    {
        pw_loop* loop = pw_main_loop_get_loop(m_loop.get());
        pw_loop_add_signal(
            loop, SIGTERM, [](void* self, int) { static_cast<Camera*>(self)->end(0); }, this);
        pw_loop_add_signal(
            loop, SIGINT, [](void* self, int) { static_cast<Camera*>(self)->end(0); }, this);
        pw_loop_add_signal(
            loop, SIGUSR1,
            [](void* self, int) {
                auto* camera = static_cast<Camera*>(self);
                camera->m_isFrozen = !camera->m_isFrozen;
            },
            this);
        m_timer = pw_loop_add_timer(
            loop, [](void* self, uint64_t) { static_cast<Camera*>(self)->tick(); }, this);
        if (!m_footage.readFrame(m_frame)) {
            std::fputs("camera-feed: no frame on standard input\n", stderr);
            return 1;
        }
        if (!connect())
            return 1;
        pw_main_loop_run(m_loop.get());
        m_stream.reset();
        return m_result;
    }

private:
    bool connect()
    {
        static const pw_stream_events events = {
            .version = PW_VERSION_STREAM_EVENTS,
            .destroy = nullptr,
            .state_changed = [](void* self, pw_stream_state, pw_stream_state state,
                                 const char* error) { static_cast<Camera*>(self)->stateChanged(state, error); },
            .control_info = nullptr,
            .io_changed = nullptr,
            .param_changed =
                [](void* self, uint32_t id, const spa_pod* param) {
                    if (id == SPA_PARAM_Format && param)
                        static_cast<Camera*>(self)->offerBuffers();
                },
            .add_buffer = nullptr,
            .remove_buffer = nullptr,
            .process = [](void* self) { static_cast<Camera*>(self)->process(); },
            .drained = nullptr,
            .command = nullptr,
            .trigger_done = nullptr,
        };
        std::string nodeName = "session-camera." + m_options.description;
        for (char& character : nodeName)
            character = character == ' ' ? '-' : character;
        pw_properties* properties = pw_properties_new(PW_KEY_MEDIA_CLASS, "Video/Source", PW_KEY_MEDIA_ROLE, "Camera",
            PW_KEY_NODE_NAME, nodeName.c_str(), PW_KEY_NODE_DESCRIPTION, m_options.description.c_str(), nullptr);
        for (const auto& property : m_options.properties) {
            const auto sign = property.find('=');
            if (sign != std::string::npos)
                pw_properties_set(properties, property.substr(0, sign).c_str(), property.substr(sign + 1).c_str());
        }
        m_stream.reset(pw_stream_new_simple(
            pw_main_loop_get_loop(m_loop.get()), m_options.description.c_str(), properties, &events, this));
        if (!m_stream) {
            std::fprintf(stderr, "camera-feed: PipeWire: %s\n", std::strerror(errno));
            return false;
        }
        uint8_t memory[1024];
        spa_pod_builder builder = SPA_POD_BUILDER_INIT(memory, sizeof memory);
        spa_video_info_raw format {};
        format.format = m_options.isGrey ? SPA_VIDEO_FORMAT_GRAY8 : SPA_VIDEO_FORMAT_I420;
        format.size = SPA_RECTANGLE(m_footage.width, m_footage.height);
        format.framerate = m_footage.rate;
        const spa_pod* params[] = { spa_format_video_raw_build(&builder, SPA_PARAM_EnumFormat, &format) };
        const int result = pw_stream_connect(m_stream.get(), PW_DIRECTION_OUTPUT, PW_ID_ANY,
            static_cast<pw_stream_flags>(PW_STREAM_FLAG_DRIVER | PW_STREAM_FLAG_MAP_BUFFERS), params, 1);
        if (result < 0)
            std::fprintf(stderr, "camera-feed: PipeWire: %s\n", std::strerror(-result));
        return result >= 0;
    }

    /// Of each frame: all of it, or only the brightness.
    size_t shownSize() const
    {
        return m_options.isGrey ? size_t { m_footage.width } * m_footage.height : m_footage.frameSize();
    }

    void offerBuffers()
    {
        uint8_t memory[1024];
        spa_pod_builder builder = SPA_POD_BUILDER_INIT(memory, sizeof memory);
        const spa_pod* params[] = {
            static_cast<spa_pod*>(spa_pod_builder_add_object(&builder, SPA_TYPE_OBJECT_ParamBuffers, SPA_PARAM_Buffers,
                SPA_PARAM_BUFFERS_buffers, SPA_POD_CHOICE_RANGE_Int(8, 2, 16), SPA_PARAM_BUFFERS_blocks, SPA_POD_Int(1),
                SPA_PARAM_BUFFERS_size, SPA_POD_Int(static_cast<int>(shownSize())), SPA_PARAM_BUFFERS_stride,
                SPA_POD_Int(static_cast<int>(m_footage.width)), SPA_PARAM_BUFFERS_dataType,
                SPA_POD_CHOICE_FLAGS_Int(1 << SPA_DATA_MemFd))),
            static_cast<spa_pod*>(spa_pod_builder_add_object(&builder, SPA_TYPE_OBJECT_ParamMeta, SPA_PARAM_Meta,
                SPA_PARAM_META_type, SPA_POD_Id(SPA_META_Header), SPA_PARAM_META_size,
                SPA_POD_Int(static_cast<int>(sizeof(spa_meta_header))))),
        };
        pw_stream_update_params(m_stream.get(), params, 2);
    }

    void stateChanged(pw_stream_state state, const char* error)
    {
        if (m_isEnding)
            return;
        if (state == PW_STREAM_STATE_ERROR || state == PW_STREAM_STATE_UNCONNECTED) {
            std::fprintf(stderr, "camera-feed: PipeWire: %s\n", error ? error : "disconnected");
            end(1);
            return;
        }
        if (state == PW_STREAM_STATE_STREAMING) {
            m_next = std::chrono::steady_clock::now();
            tick();
        } else {
            pw_loop_update_timer(pw_main_loop_get_loop(m_loop.get()), m_timer, nullptr, nullptr, true);
        }
    }

    void tick()
    {
        if (pw_stream_get_state(m_stream.get(), nullptr) != PW_STREAM_STATE_STREAMING)
            return;
        pw_stream_trigger_process(m_stream.get());
        const auto period
            = std::chrono::nanoseconds(std::chrono::seconds(1)) * m_footage.rate.denom / m_footage.rate.num;
        m_next += period;
        // After a stall the camera goes on at its rate, as a real one would, and does not hurry to catch up.
        if (const auto now = std::chrono::steady_clock::now(); m_next < now)
            m_next = now + period;
        const auto since = std::chrono::duration_cast<std::chrono::nanoseconds>(m_next.time_since_epoch()).count();
        timespec at { static_cast<time_t>(since / SPA_NSEC_PER_SEC), static_cast<long>(since % SPA_NSEC_PER_SEC) };
        pw_loop_update_timer(pw_main_loop_get_loop(m_loop.get()), m_timer, &at, nullptr, true);
    }

    void process()
    {
        pw_buffer* buffer = pw_stream_dequeue_buffer(m_stream.get());
        if (!buffer)
            return; // every buffer is with a slow watcher: this frame stays for the next tick
        spa_data& data = buffer->buffer->datas[0];
        if (data.data && data.maxsize >= shownSize()) {
            std::memcpy(data.data, m_frame.data(), shownSize());
            data.chunk->offset = 0;
            data.chunk->size = static_cast<uint32_t>(shownSize());
            data.chunk->stride = static_cast<int32_t>(m_footage.width);
        }
        void* meta = spa_buffer_find_meta_data(buffer->buffer, SPA_META_Header, sizeof(spa_meta_header));
        if (auto* header = static_cast<spa_meta_header*>(meta)) {
            header->pts = std::chrono::steady_clock::now().time_since_epoch().count();
            header->flags = 0;
            header->seq = m_sequence;
            header->dts_offset = 0;
        }
        ++m_sequence;
        pw_stream_queue_buffer(m_stream.get(), buffer);
        writeCount();
        if (m_isFrozen)
            return;
        if (!m_footage.readFrame(m_frame)) {
            std::fputs("camera-feed: standard input ended\n", stderr);
            end(1);
        }
    }

    void writeCount() const
    {
        // One line of fixed length, so that a reader never sees half of a longer number.
        char line[24];
        const int length = std::snprintf(line, sizeof line, "%20llu\n", static_cast<unsigned long long>(m_sequence));
        if (m_options.countFile >= 0 && pwrite(m_options.countFile, line, static_cast<size_t>(length), 0) != length)
            std::fprintf(stderr, "camera-feed: the count is not written: %s\n", std::strerror(errno));
    }

    void end(int result)
    {
        m_isEnding = true;
        m_result = result;
        pw_main_loop_quit(m_loop.get());
    }

    Footage& m_footage;
    Options m_options;
    std::unique_ptr<pw_main_loop, LoopDeleter> m_loop;
    std::unique_ptr<pw_stream, StreamDeleter> m_stream;
    spa_source* m_timer = nullptr;
    std::vector<uint8_t> m_frame;
    std::chrono::steady_clock::time_point m_next;
    uint64_t m_sequence = 0;
    int m_result = 0;
    bool m_isFrozen = false;
    bool m_isEnding = false;
};

} // namespace

int main(int argc, char* argv[])
{
    Camera::Options options;
    unsigned rate = 0;
    for (int index = 1; index + 1 < argc; index += 2) {
        const std::string_view option = argv[index];
        const char* const value = argv[index + 1];
        if (option == "--name")
            options.description = value;
        else if (option == "--rate")
            rate = static_cast<unsigned>(std::strtoul(value, nullptr, 10));
        else if (option == "--count")
            options.countFile = open(value, O_CREAT | O_WRONLY | O_CLOEXEC, 0600);
        else if (option == "--property")
            options.properties.emplace_back(value);
        else if (option == "--grey")
            options.isGrey = true;
    }
    Footage footage;
    if (!footage.readHeader()) {
        std::fputs("camera-feed: standard input is no YUV4MPEG2 stream with 4:2:0 pictures\n", stderr);
        return 1;
    }
    if (rate != 0)
        footage.rate = SPA_FRACTION(rate, 1);
    pw_init(&argc, &argv);
    const int result = Camera(footage, std::move(options)).run();
    pw_deinit();
    return result;
}
