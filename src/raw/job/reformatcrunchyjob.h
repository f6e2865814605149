// A change of format that knows of groups of blocks. It makes no use of them.
#pragma once

#include "raw/job/reformatblockjob.h"

namespace qor::Texsmith::Raw {

class ReformatCrunchyJob : public ReformatBlockJob {
public:
    ReformatCrunchyJob(const ElementProvider* source, const ElementProvider* destination,
                       Configuration* configuration, unsigned groupBlocksDown, unsigned groupBlocksAcross)
        : ReformatBlockJob(source, destination, configuration), m_groupBlocksDown(groupBlocksDown),
          m_groupBlocksAcross(groupBlocksAcross) {
        setName("ReformatCrunchyJob");
    }

protected:
    unsigned groupBlocksDown() const { return m_groupBlocksDown; }
    unsigned groupBlocksAcross() const { return m_groupBlocksAcross; }

private:
    unsigned m_groupBlocksDown;
    unsigned m_groupBlocksAcross;
};

} // namespace qor::Texsmith::Raw
