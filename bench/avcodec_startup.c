/* The least a process does to decode HEVC with libavcodec: find the decoder,
 * open a context, close it. Built twice by bench/ffmpeg_startup.sh (against
 * Debian's shared libavcodec and against our static HEVC-only one) to time
 * what each costs a process that starts. */
#include <libavcodec/avcodec.h>

int main(void)
{
    const AVCodec* codec = avcodec_find_decoder(AV_CODEC_ID_HEVC);
    AVCodecContext* context = codec ? avcodec_alloc_context3(codec) : NULL;
    const int ok = context && avcodec_open2(context, codec, NULL) == 0;
    avcodec_free_context(&context);
    return ok ? 0 : 1;
}
