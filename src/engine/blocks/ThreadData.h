// ThreadData: one thread's share of the asymmetric-unit voxels and all per-voxel arithmetic on it.
#pragma once

#include <initializer_list>

#include "crystal/StructureFactor.h"
#include "numeric/Vector.h"
#include "numeric/VectorD.h"

// A contiguous run of asymmetric-unit voxels owned by one thread of the team.
// Thread t of every parallel region works on block t only, so nothing here locks.
// Density values are per grid point: the orbit of voxel v holds multiplicity[v]
// times rho[v], and every total below carries the multiplicity.
// A side of the density is touched only when its target total is non-zero
// (exact test); the negative side is stored with its sign. Memory follows
// the same rule: the negative side's vectors exist only when its total is
// non-zero or a density file supplies them, and prior arrays only when a
// prior file is read; a flat prior is one value per side.
class ThreadData : public Object {
public:
    int nVoxelCell = 0;  // points of the whole cell
    int size[6] = {};    // grid numbers nx, ny, nz in the first three entries
    int nVoxel = 0;      // voxels of this block
    int offset = 0;      // global number of this block's first voxel
    int nRefl = 0;       // columns of the phase tables: every reflection of the list
    int nReflFG = 0;     // leading columns that the constraint derivatives act on
    int nReflE = 0;      // trailing columns of reflections calculated for the report only
    // Runs of the analysis's voxel lists, not the block's own:
    const int* gridIndex = nullptr;     // each voxel's cell point x + nx (y + ny z)
    const int* multiplicity = nullptr;  // orbit size of each voxel on the grid
    // The twelve vectors hold one reference of the block itself, so that a list
    // sharing them (the minimiser's solution vector) never destroys them.
    VectorXD rho1Old;
    VectorXD rho1;
    VectorXD rho2Old;
    VectorXD rho2;
    VectorXD rho12;            // rho1 + rho2: what the Fourier transforms read; FFT path: a run of densitySum
    double* prior1 = nullptr;  // null: the flat prior flatPrior1 at every voxel
    double* prior2 = nullptr;
    double flatPrior1 = 0.0;  // F000 / nVoxelCell of each side
    double flatPrior2 = 0.0;
    const double* realGrid = nullptr;  // FFT path: the cell grid of the transforms
    double* partialA = nullptr;        // direct path: this block's share of every A
    double* partialB = nullptr;        // direct path, acentric only: share of every B
    VectorXD dCdR;
    VectorXD dQdRho1;
    VectorXD curv1;
    VectorXD step1;
    VectorXD dQdRho2;
    VectorXD curv2;
    VectorXD step2;
    double F000Plus = 0.0;
    double F000Minus = 0.0;
    double totalPlus = 0.0;  // multiplicity-weighted totals of rho1 and rho2, by SumTotals
    double totalMinus = 0.0;
    double* cosTable = nullptr;  // direct path: nVoxel rows of nRefl entries
    double* sinTable = nullptr;  // direct path; null for a centrosymmetric structure
    bool useFFT = false;
    bool sumIsShared = false;  // rho12 lies in the analysis's densitySum

    ThreadData(int nReflFG, int nVoxel, int offset);
    ~ThreadData() override;
    ThreadData(const ThreadData&) = delete;
    ThreadData& operator=(const ThreadData&) = delete;

    // Fills the block; called once by the block's own thread so that its pages
    // are first touched there. point (cell points) and multiplicity point at
    // this block's part of the global lists, which must outlive the block. On the FFT path rho12 is this block's run of
    // densitySum, which holds every voxel in global order, so that the gather
    // into the cell grid reads one array.
    // nRefl counts every reflection of refl, the last nReflE of them report-only.
    void Create(int dim, const int* size, double F000Plus, double F000Minus, const int* point,
                const int* multiplicity, double* realGrid, double* densitySum,
                ObjVector<StructureFactor>& refl, int nRefl, const int* ops, int nOps, int nCenter,
                int centroFactor, bool useFFT, int nReflE);
    // Cosine (and sine) of every voxel against every reflection: multiplicity
    // times the mean over all operators, so that F is rho12 times a column.
    void MakePhaseTable(ObjVector<StructureFactor>& refl, const int* ops, int nOps, int nCenter,
                        int centroFactor);

    // ZSPA: exponential step from the old densities; Zp, Zm are set to the new totals.
    void ZSPA_Calc_Next_Rho1(double L, double& Zp, double& Zm);
    // Scales the two sides by a and b, and forms rho12.
    void ZSPA_Normalize(double a, double b);
    // Adds the sums of -ln(rho / prior) * m.
    void Calc_mu1(double& a, double& b);
    // Adds the normalisation sums of the exponential densities for multiplier L.
    void Calc_mu2(double L, double& a, double& b);
    // Sets the entropy sums of the block's two sides.
    void Calc_Partial_Entropy(double& Sp, double& Sm);
    // This block's share of every A (and B) into partialA (partialB); without
    // withE the report-only columns are left out.
    void Calc_Partial_Fcalc(int withE);
    // dCdR from the backward transform in the real grid.
    void Calc_dCdR_FFT();
    // dCdR per grid point from the derivatives by A and B of the first nReflFG columns.
    void Calc_dCdR_DFT(const double* dA, const double* dB);
    // rho12 = the logarithmic density, ln(rho / prior), for the report's coefficients.
    void CalcLnRho();
    void Add_Rho12();
    // Sets totalPlus and totalMinus from the present densities.
    void SumTotals();
    // Old and new densities exchange storage; the vectors stay the same objects.
    void SwapRho();
    void CopyRho();
    // Negative-side densities (flat start) and prior arrays (flat values) for
    // the files that supply them; each does nothing the second time.
    void ReserveMinusSide();
    void ReservePriors();
    bool StoresMinus() const { return rho2.p_ != nullptr; }
    // Cambridge: gradient and curvature of Q, the Newton-like step, and its correction.
    // Their vectors (dQdRho, curv, step) of the sides in use are allocated by
    // the first of them to run, so that the other algorithms do without that memory.
    void ReserveNewtonVectors();
    // L-BFGS's gradient and direction live in dQdRho and step of the sides in use.
    void ReserveMinimiserVectors();
    void Calc_dQdL(double L, double a, double mu1, double mu2, double& d1, double& d2);
    void Calc_Next_Rho3(double t, double& a, double& b, double& c, double& d);
    void Normalize3(double& a, double& b);
    // L-BFGS: rho1Old / rho2Old hold x with m * |rho| = x^2. The first two
    // form the densities, add to the entropy sum S and the total Q and set the
    // entropy gradient g; the third completes g with the constraint and totals.
    // Without a stored negative side the first also forms rho12. They also
    // set totalPlus and totalMinus, for a side not in use too (g may then be null).
    void BFGS_calc_pRho(VectorXD* g, double& S, double& Q);
    void BFGS_calc_mRho(VectorXD* g, double& S, double& Q);
    void BFGS_Calc_dCdR(int side, VectorXD& g, double lam, double mu, double c0);

    // Multiplicity-weighted inner product over the block.
    double Dot(const VectorD& a, const VectorD& b) const;

    bool HasPlus() const { return F000Plus != 0.0; }
    bool HasMinus() const { return F000Minus != 0.0; }

private:
    // Allocates the Newton-like vectors of the given kinds (0 gradient,
    // 1 curvature, 2 step) of the sides in use, unless they exist.
    void ReserveSideVectors(std::initializer_list<int> kinds);
};
