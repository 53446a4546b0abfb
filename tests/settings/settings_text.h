// A parameter set's settings as one line of text, so that tests compare them all at once.
#pragma once

#include <sstream>
#include <string>

#include "settings/MEMParam.h"

inline std::string SettingsText(const MEMParam& p) {
    std::ostringstream s;
    s << "type " << p.fileType << " start " << p.startType << " prior " << p.priorType << " algorithm "
      << p.algorithm << " LM " << p.LM_type << " lambda " << p.lambda << " x " << p.weightPowerD << " m "
      << p.weightPowerM << " t " << p.coefT << " E " << p.coefE << " feedback " << p.feedbackOutput << " eps "
      << p.epsOutput << " cycles " << p.maxCycles << " fractions";
    for (double f : p.lambdaFraction) s << " " << f;
    s << " grid " << p.gridResolution;
    return s.str();
}
