// Wilson statistic of the observed amplitudes, printed by the route that estimates unobserved reflections.
#pragma once

class MEMData;

// Scale and isotropic displacement of the observed amplitudes in shells of
// 0.1 in 1/d. A side statistic: it is printed and steers nothing.
void Wilson(MEMData& mem, double& scale, double& Biso);
