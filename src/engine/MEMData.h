// The analysis object: settings, reflection data, working arrays and the optimisers of one MEM run.
#pragma once

#include <fftw3.h>

#include <memory>
#include <string>
#include <vector>

#include "crystal/StructureFactor.h"
#include "numeric/Vector.h"
#include "numeric/VectorD.h"
#include "engine/optimisers/lbfgs/VectorXDMP.h"
#include "engine/transforms/CellTransform.h"
#include "engine/blocks/ForEachBlock.h"
#include "settings/MEMParam.h"
#include "engine/optimisers/LBFGS.h"

// Held by counted reference only, so their definitions are not needed here.
class Element;
class ThreadData;
class Constraint;

// Signature of the timer that accumulates elapsed milliseconds from a stamp.
typedef void (*ProgressFunction)(void* stamp, long& elapsed);

// Dimension-independent part of an analysis. The reflection values sit in
// plain aligned arrays, addressed by the position of the record in
// `reflections`, because the constraint sums run over them in every cycle.
//
// `reflections` holds four consecutive runs:
//   nRefUnobs generated unobserved reflections,
//   nRefF individual reflections with a measured phased F,
//   nRefG members of nGroups groups of overlapped reflections sharing one |G|,
//   nRefE reflections that are only calculated and listed.
class MEMData {
public:
    MEMData();
    virtual ~MEMData();
    MEMData(const MEMData&) = delete;
    MEMData& operator=(const MEMData&) = delete;

    // The dimension-dependent stages, implemented by MEMData3D.
    virtual bool ReadFobs() = 0;
    virtual void CalcFcalc_impl(int withE) = 0;
    virtual int WriteOutputFiles() = 0;  // number of files that failed
    virtual void CalcFlnR() = 0;
    virtual void DFT_Derivatives() = 0;
    virtual void MakeThreadData() = 0;

    // Run sequence.
    // Allocates the value arrays for the present reflection counts; a reader
    // calls it once the counts are final and before it copies its values.
    void AllocateMemory();
    void PostCalculation();

    // Optimisers.
    void L_BFGS();

    // Evaluation of the present density.
    void CalcFcalc(int withE);
    void Calc_Constraint(int cycle);
    // The optimiser whose result this is: the setting, or L-BFGS when
    // algorithm 4 handed the run over.
    int Algorithm() const;
    // Size below which a calculated structure factor is rounding noise.
    double RoundingLevel() const;
    void Calc_dSdR(VectorXDMP& g);
    void Calc_dCdR(VectorXDMP& g);

    // Callbacks of the limited-memory minimiser; `instance` is the MEMData.
    double evaluate(const VectorXDMP& x, VectorXDMP& g, int n, double step);
    int progress(const VectorXDMP& x, const VectorXDMP& g, double fx, double xnorm, double gnorm, double step,
                 int n, int k, int ls);
    static double _evaluate(void* instance, const VectorXDMP& x, VectorXDMP& g, int n, double step);
    static int _progress(void* instance, const VectorXDMP& x, const VectorXDMP& g, double fx, double xnorm,
                         double gnorm, double step, int n, int k, int ls);

    // Settings and parallel structure
    MEMParam param;
    ObjVector<ThreadData> threads;      // block i belongs to thread number i
    ObjVector<Constraint> constraints;  // orders 2, 4, ..., 16 in this order
    int nThreads = 1;
    // The most sums that one pass over the blocks returns (Cambridge's trial step).
    static constexpr int kMaxBlockSums = 4;
    BlockSums blockSums;  // per-block sums of the passes, sized with the blocks
    int NASYM = 0;        // voxels in the asymmetric unit

    // Values of the objective
    double wConstr = 0.0;   // weighted sum over the constraint terms
    double constr = 0.0;    // reduced chi-square CONSTR
    double constrF0 = 0.0;  // term of F(000) and the unobserved reflections
    double meanWeight = 0.0;
    long timePrep = 0;  // milliseconds
    long timeMEM = 0;

    // Crystal content and moments
    ObjVector<Element> elements;
    std::vector<int> elementCount;
    double targetMoment[16] = {};  // pairs (even, odd) of (F+ + F-)^n, n = 1..8
    double calcMoment[16] = {};
    double entropyPlus = 0.0;
    double entropyMinus = 0.0;
    double objective = 0.0;
    double gradNorm = 0.0;
    double mu1Mean = 0.0;
    double mu2Mean = 0.0;
    // The Lagrange multiplier of the constraint, its one home: the settings'
    // lambda at the start, changed by ZSPA and Cambridge as they go, and after
    // a run the last one, "lambda1" in the report. L-BFGS works on 1 / lambda
    // in multipliers[0] and leaves its value here at checkpoints and at the end.
    double lambda = 0.0;
    int gridSize[3] = {0, 0, 0};  // voxels along a, b, c; zero until fixed
    int nVoxelCell = 0;
    ObjVector<StructureFactor> reflections;
    ProgressFunction progressFn = nullptr;
    std::string handOverNote;  // why algorithm 4 handed the run to L-BFGS; empty if not
    void* progressArg = nullptr;
    char title[80] = {};  // NUL-padded: all 80 bytes go into the grid file

    // Per-reflection and per-group arrays
    std::vector<int> groupMult;  // nGroups: summed multiplicities of the members
    double* FobsRe = nullptr;    // nRefF
    double* FobsIm = nullptr;    // nRefF
    double* weightF = nullptr;   // nRefF + nRefG: E / sigma^2
    double* dSdFRe = nullptr;    // all reflections: transform of ln(density)
    double* dSdFIm = nullptr;
    double* Gobs = nullptr;         // nGroups
    double* Gcalc = nullptr;        // nGroups
    std::vector<int> groupSize;     // nGroups: members of each group
    double* weightG = nullptr;      // nGroups: E / sigma(G)^2
    std::vector<int> epsHistogram;  // pairs (bin, count)
    double* residualRe = nullptr;   // nRefF + nRefG: (Fobs - Fcalc) sqrt(weight)
    double* residualIm = nullptr;
    double* mergedDerivRe = nullptr;  // nRefUnobs + nRefF + nRefG, by list position
    double* mergedDerivIm = nullptr;
    double* refWeight = nullptr;    // nRefF + nRefG: relative weight
    std::vector<double> refFobsRe;  // measured values of the listed-only run
    std::vector<double> refFobsIm;
    std::vector<double> refFobsSigma;

    // Further numbers
    long nComplex = 0;  // (gridSize[0] / 2 + 1) gridSize[1] gridSize[2]
    int nRefUnobs = 0;
    int nRefF = 0;
    int nRefG = 0;
    int nGroups = 0;
    int nRefE = 0;
    int nCenter = 1;       // lattice points per cell
    int centroFactor = 1;  // 2 for a centrosymmetric group
    int nSymOp = 0;

    // Vectors and Fourier arrays
    VectorXDMP solution;                  // unknowns of L-BFGS, sharing the blocks
    LBFGSState lbfgsState;                // L-BFGS's vectors and counters
    VectorXD multipliers;                 // 1 / lambda, mu1, mu2
    double* realGrid = nullptr;           // nVoxelCell, fftw_malloc
    std::vector<int> cellOwner;           // FFT path: the voxel of every cell point
    std::vector<int> voxelPoint;          // NASYM: each voxel's cell point; blocks hold runs of it
    std::vector<int> voxelMultiplicity;   // NASYM: each voxel's orbit size; blocks hold runs of it
    double* densitySum = nullptr;         // FFT path: NASYM, the blocks' rho12 end to end
    fftw_complex* fourierGrid = nullptr;  // nComplex, fftw_malloc
    fftw_complex* gridPowerA[4] = {};     // [1..3] used, entropy orders above 1
    fftw_complex* derivGrid = nullptr;    // nComplex; the same array as fourierGrid
    fftw_complex* gridPowerB[6] = {};     // [1..5] used, entropy orders above 1
    bool useFFT = false;
    bool totalsCurrent = false;                // the blocks' totals are those of the present density
    std::unique_ptr<CellTransform> transform;  // realGrid <-> fourierGrid (= derivGrid)
    std::vector<double> shiftFactors;          // FFT path: cos, sin of every equivalent's phase shift
    std::vector<long> shiftStart;              // FFT path: first pair of each reflection in shiftFactors

    // Result statistics
    double RF = 0.0;
    double wRF = 0.0;
    double CONF = 0.0;
    double CONG = 0.0;
    double RF0 = 0.0;
    double wRF0 = 0.0;
    double constr0 = 0.0;
    double CONF0 = 0.0;
    double CONG0 = 0.0;
    int cycle = 0;
    bool stalled = false;  // Cambridge ended without meeting its own stop test
    double sumFobs = 0.0;
    double sumWFobs2 = 0.0;
    double sumGobs = 0.0;
    double sumWGobs2 = 0.0;
    double Cn[8] = {};  // C2, C4, ..., C16
    int orders[8] = {};
};
