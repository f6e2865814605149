// MultiImageEncoderJob: the rows of several classic pictures, shared out together.
#pragma once

#include "qor/texsmith/block_compression.h"
#include "qor/texsmith/per_pixel_codes.h"
#include "qor/texsmith/raw/job_manager.h"
#include "qor/texsmith/tools_assert.h"

#include <algorithm>

namespace qor::Texsmith {

// `Encoder` is CpuBlockEncoder, whose rows are rows of blocks, or PerImagePixelEncoder. Encoders are
// borrowed: they stay where they are until the job has been stalled on.
template <typename Encoder> class MultiImageEncoderJob : public Raw::Job {
public:
    static constexpr unsigned kMaxImages = 16;

    MultiImageEncoderJob() : Job(0) {}

    // All rows of the encoder's picture. The seventeenth, and one whose rows bring the count to 2^32, are
    // reported and dropped, which false tells.
    bool addImage(const Encoder* encoder) {
        const unsigned rows = encoder->getNumberOfRows();
        if (m_images == kMaxImages || m_rows + rows < m_rows) {
            toolsAssert("image", __LINE__,
                        "number of images cannot exceed the number of reserved images in JobData\n");
            return false;
        }
        m_entries[m_images++] = {encoder, m_rows, rows};
        m_rows += rows;
        return true;
    }

private:
    struct Entry {
        const Encoder* m_encoder;
        unsigned m_firstRow; // among the rows of all pictures
        unsigned m_rows;
    };

    Raw::Error doCallback(unsigned callbackId) const override {
        const Raw::WorkItems share = getWorkItems(callbackId, m_rows);
        for (const Entry& entry : m_entries) {
            const unsigned begin = (std::max)(share.m_begin, entry.m_firstRow);
            const unsigned end = (std::min)(share.m_end, entry.m_firstRow + entry.m_rows);
            if (begin < end) {
                entry.m_encoder->encodeRows(begin - entry.m_firstRow, end - entry.m_firstRow);
            }
        }
        return Raw::kErrorNone;
    }

    Entry m_entries[kMaxImages] = {};
    unsigned m_images = 0;
    unsigned m_rows = 0;
};

} // namespace qor::Texsmith
