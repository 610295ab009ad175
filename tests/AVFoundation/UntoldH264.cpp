#include "tests/AVFoundation/UntoldH264.h"

#include <algorithm>

extern "C" {
#include <libavcodec/bsf.h>
}

std::vector<std::uint8_t> withNothingTold(const std::vector<std::uint8_t>& sample)
{
    AVBSFContext* filter = nullptr;
    av_bsf_list_parse_str("h264_metadata=colour_primaries=2:transfer_characteristics=2:matrix_coefficients=2", &filter);
    filter->par_in->codec_id = AV_CODEC_ID_H264;
    AVPacket* packet = av_packet_alloc();
    std::vector<std::uint8_t> result;
    if (av_bsf_init(filter) == 0 && av_new_packet(packet, static_cast<int>(sample.size())) == 0) {
        std::ranges::copy(sample, packet->data);
        if (av_bsf_send_packet(filter, packet) == 0 && av_bsf_receive_packet(filter, packet) == 0)
            result.assign(packet->data, packet->data + packet->size);
    }
    av_packet_free(&packet);
    av_bsf_free(&filter);
    return result;
}
