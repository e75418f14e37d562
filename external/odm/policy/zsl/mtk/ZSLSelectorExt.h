// The platform extension layer between the selector interface and the concrete selectors. It makes every operation
// concrete with a neutral default, so that a selector overrides only what it needs, and replaces the sensor-mode check.

#pragma once

#include <cstdint>
#include <map>
#include <vector>

#include "api/ZSLSelectorBase.h"

class ZSLSelectorExt : public zohal::ZSLSelectorBase {
public:
    ZSLSelectorExt();

    // Never needed.
    bool isSelectorNeeded(const zohal::ZSLFrameSelectInfo& selectInfo) override;

    // Accepts every frame.
    zohal::ZSLSelectorResult checkFrame(const zohal::ZSLFrameCheckInfo& checkInfo) override;

    // Takes the wanted mode from the request's control tag ("...control.policy.sensorMode"). Both flags are true when
    // the frame's mode is the wanted one, two unknown modes included, and both false otherwise and where no queue of
    // kind kFrameInfoQueue is handed in.
    zohal::ZSLSelectorResult checkDesiredSensorMode(const zohal::ZSLFrameCheckInfo& checkInfo) override;

    ~ZSLSelectorExt() override;

    // Selects nothing.
    zohal::SelectionResult selectZSLFrames(const zohal::ZSLFrameSelectInfo& selectInfo) override;

protected:
    // Part of the layout that the HAL core knows; nothing in this library fills or reads them.
    std::vector<uint32_t> mCoreList1;
    std::vector<uint32_t> mCoreList2;
    std::vector<uint32_t> mCoreList3;
    std::map<unsigned long, bool> mCoreFlags;
};
