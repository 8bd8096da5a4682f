#include "Decoder.h"

VideoDecoder::~VideoDecoder() = default;

void VideoDecoder::SetCreateType(int type) { nCreateType = type; }

int VideoDecoder::GetCreateType() const { return nCreateType; }

int VideoDecoder::ModifyInfo(unsigned int, uintptr_t) { return 1; }

AudioDecoder::~AudioDecoder() = default;

void AudioDecoder::SetCreateType(int type) { nCreateType = type; }

int AudioDecoder::GetCreateType() const { return nCreateType; }
