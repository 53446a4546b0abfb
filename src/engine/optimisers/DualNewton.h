// Algorithm 4: the exact maximum-entropy density by a Newton-CG solver of the Lagrange dual.
#pragma once

class MEMData;

// Solves for the density of largest entropy at CONSTR = 1 by Newton-CG on the
// dual, one unknown per reflection component, through a series of stages in
// lambda; ends with d.lambda, the density and all structure factors, the
// listed-only reflections included. Takes only analyses that DualNewtonUnfit
// accepts.
void DualNewton(MEMData& d);

// Why the dual solver cannot take this analysis, or null when it can. The
// dual has one unknown per reflection component of an order-2 constraint
// on individual reflections: overlap groups (a constraint on a magnitude),
// generalised constraints of higher order and generated unobserved
// reflections lie outside it.
const char* DualNewtonUnfit(const MEMData& d);
