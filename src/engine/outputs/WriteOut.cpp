// The text report <base>.out: data and settings, results, and the lists of structure factors.
#include "engine/outputs/WriteOut.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

#include "util/ElapsedTimes.h"
#include "util/IO.h"
#include "util/Version.h"
#include "engine/outputs/AtomicFile.h"
#include "engine/outputs/EpsHistogram.h"
#include "engine/MEMData3D.h"

namespace {

// The stamp of the build in the form "Dec  8 2018".
const char* const kBuildDate = __DATE__;

void WriteHeading(FILE* f, const MEMData3D& d) {
    const MEMParam& p = d.param;
    const float* cell = d.unitCell.cell;
    fprintf(f, " Halvorin ver. %s\n", kHalvorinVersion);
    fprintf(f, " Build date: %s\n\n", kBuildDate);
    fprintf(f, " ******************** Data and settings for MEM analysis ******************** \n\n");
    fprintf(f, "  (a) X-ray diffraction data or (b) neutron diffraction data of a compound\n");
    fprintf(f, "  containing no element with a negative coherent-scattering length.\n\n");
    fprintf(f, "                      MEM data set file: %s\n", p.dataFile.c_str());
    fprintf(f, "                   Standard output file: %s\n", p.outFile.c_str());
    fprintf(f, "                 3D densities data file: %s\n", p.gridFile.c_str());
    fprintf(f, "                     Feedback data file: %s\n", p.feedbackFile.c_str());
    fprintf(f, "  epsilon(Gauss) distribution data file: %s\n\n", p.epsFile.c_str());
    fprintf(f, "  Title: %s\n\n", d.title);
    fprintf(f, "  Lattice parameters:\n");
    fprintf(f, "         a = %9.5f     b = %9.5f      c = %9.5f\n", cell[0], cell[1], cell[2]);
    fprintf(f, "     alpha = %9.5f  beta = %9.5f  gamma = %9.5f\n", cell[3], cell[4], cell[5]);
    fprintf(f, "         V = %.4f\n\n", d.unitCell.orthoMatrix.Determinant());
    fprintf(f, "  Space group: %s\n", d.unitCell.spgName);
    fprintf(f, "  Space group number: %d\n", d.unitCell.spgNumber);
    fprintf(f, "  Setting number: %d\n\n", d.unitCell.spgSetting);
    fprintf(f, "  Numbers of reflections used in MEM analysis:\n");
    fprintf(f, "     NREF1(F) = %d\n", d.nRefF);
    fprintf(f, "     NREF2(G) = %d\n", d.nRefG);
    fprintf(f, "     NREF3(E) = %d\n\n", d.nRefE);
    fprintf(f, "  Number of voxels in the asymmetric unit = %d\n", d.NASYM);
    fprintf(f, "        Number of voxels in the unit cell = %d (%d X %d X %d)\n", d.nVoxelCell, d.gridSize[0],
            d.gridSize[1], d.gridSize[2]);
}

// The analysis has already run on the grid it was given; a grid that does not
// carry every special position on a voxel is only pointed out, with grids of
// the right kind at three usual resolutions.
void WriteGridWarning(FILE* f, MEMData3D& d) {
    int base[3];
    d.unitCell.CalcGridNo(base, 1e10f);
    bool fits = true;
    for (int i = 0; i < 3; ++i) fits = fits && base[i] != 0 && d.gridSize[i] % base[i] == 0;
    if (fits) return;

    int fine[3], finer[3], finest[3];
    d.unitCell.CalcGridNo(fine, 0.1f);
    d.unitCell.CalcGridNo(finer, 0.07f);
    d.unitCell.CalcGridNo(finest, 0.05f);
    fprintf(f, " ********************************* Warning! ********************************* \n");
    fprintf(f, "  The number of grids is incompatible with the space group symmetry!\n");
    fprintf(f, "  They must be (%dx X %dy X %dz) where x, y, and z are arbitrary integers.\n", base[0],
            base[1], base[2]);
    fprintf(f, "  Suggested grids are:\n");
    fprintf(f, "    (%d  %d  %d) for a resolution of about 0.1 angstrom,\n", fine[0], fine[1], fine[2]);
    fprintf(f, "    (%d  %d  %d) for a resolution of about 0.07 angstrom, and\n", finer[0], finer[1],
            finer[2]);
    fprintf(f, "    (%d  %d  %d) for a resolution of about 0.05 angstrom.\n", finest[0], finest[1],
            finest[2]);
    fprintf(f, " **************************************************************************** \n");
}

void WriteSettings(FILE* f, const MEMData3D& d) {
    const MEMParam& p = d.param;
    fprintf(f, "\n");
    fprintf(f, "  Number of electrons in the unit cell (X-ray diffraction)\n");
    fprintf(f, "  or the sum of coherent-scattering lengths for all the atoms\n");
    fprintf(f, "  in the unit cell (neutron diffraction): %g, %g\n\n", d.targetMoment[0], d.targetMoment[1]);
    switch (d.Algorithm()) {
    case 0: fprintf(f, "  The 0th order single-pixel approximation (ZSPA) algorithm\n"); break;
    case 1: fprintf(f, "  The Limited-memory BFGS algorithm\n"); break;
    case 2: fprintf(f, "  The Cambridge algorithm\n"); break;
    case 4: fprintf(f, "  The exact solution by Newton's method on the dual (algorithm 4)\n"); break;
    default: fprintf(f, "  Testing algorithm\n"); break;
    }
    if (p.startType != 0)
        fprintf(f, "  Calculation was restarted from densities recorded in a file.\n");
    else
        fprintf(f, "  Calculation was started from uniform densities.\n");
    if (!d.handOverNote.empty()) fprintf(f, "  %s\n", d.handOverNote.c_str());
    if (d.Algorithm() == 1 || d.Algorithm() == 4) {
        if (p.priorType != 0)
            fprintf(f, "  Prior density distribution is from file.\n");
        else
            fprintf(f, "  Prior density distribution is uniform.\n");
    }
    fprintf(f, "                   Initial lambda1 = %E\n", p.initialLambda);
    fprintf(f, "      \"Ad-hoc\" weighting factor, n = %E\n", p.weightPowerD);
    if (d.Algorithm() == 0) fprintf(f, "  Coefficient, t, to adjust lambda = %f\n", p.coefT);
    fprintf(f, "  Coefficient, E, to adjust estimated standard deviations = %g\n\n", p.coefE);
    fprintf(f, "  Wighting factors lambda_n for higher order constraints.\n");
    fprintf(f, "  lambda_2  lambda_4  lambda_6  lambda_8  lambda_10 lambda_12 lambda_14 lambda_16.\n");
    const double* l = p.lambdaFraction;
    fprintf(f, "  %8.6f %9.6f %9.6f %9.6f %9.6f %9.6f %9.6f %9.6f\n\n", l[0], l[1], l[2], l[3], l[4], l[5],
            l[6], l[7]);
    fprintf(f, "  CONSTR = %14.7E   RF = %8.6f\n", d.constr0, d.RF0);
    fprintf(f, "    CONF = %14.7E  wRF = %8.6f\n", d.CONF0, d.wRF0);
    fprintf(f, "    CONG = %14.7E\n\n", d.CONG0);
}

void WriteResults(FILE* f, const MEMData3D& d) {
    static const char* const kLabels[8] = {"C2 ", "C4 ", "C6 ", "C8 ", "C10", "C12", "C14", "C16"};
    fprintf(f, " **************************** End of MEM analysis *************************** \n");
    fprintf(f, d.useFFT ? "  The FFT routine was used.\n\n" : "  The DFT routine was used.\n\n");
    fprintf(f, "           lambda1 = %g\n", d.lambda);
    fprintf(f, "  Number of cycles = %d\n", d.cycle);
    fprintf(f, "  CONSTR = %14.7E   RF = %8.6f\n", d.constr, d.RF);
    fprintf(f, " wCONSTR = %14.7E  wRF = %8.6f\n", d.wConstr, d.wRF);
    fprintf(f, "    CONF = %14.7E CONG = %14.7E\n", d.CONF, d.CONG);
    if (d.Algorithm() > 0) fprintf(f, " <dQ/dR> = %14.7E\n", d.gradNorm);
    fprintf(f, "\n");
    for (int n = 0; n < 8; ++n)
        fprintf(f, "     %s = %14.7E   ln(%s) = %10.6f\n", kLabels[n], d.Cn[n], kLabels[n],
                std::log(d.Cn[n]));
    fprintf(f, "\n");
    if (d.targetMoment[0] != 0.0)
        fprintf(f, "  Information Entropy (+) = %14.7E\n", d.entropyPlus / std::fabs(d.targetMoment[0]));
    if (d.targetMoment[1] != 0.0)
        fprintf(f, "  Information Entropy (-) = %14.7E\n\n", d.entropyMinus / std::fabs(d.targetMoment[1]));
    fprintf(f, "  -------------------------------------------------------------- \n");
    // Only an upper limit: a fit far better than the uncertainties also counts.
    if (d.param.convergenceLimit > d.constr - 1.0)
        fprintf(f, "      The constraints have been satisfied.\n");
    else
        fprintf(f, "      The constraints have not been satisfied.\n");
    // The Cambridge step models the curvature of CONSTR by its diagonal alone,
    // and on real data its multiplier creeps: past the cycle limit more cycles
    // rarely help, the exact solver does.
    if (d.stalled)
        fprintf(f, "      The Cambridge algorithm has not converged: run algorithm 4, the exact solver.\n");
    fprintf(f, "  -------------------------------------------------------------- \n\n");
    WriteElapsedTimes(f, d.timePrep, d.timeMEM);
}

// Multiplicity of a reflection in the report: operators over stabiliser.
int Multiplicity(const MEMData3D& d, const StructureFactor& r) {
    return r.stabilizerOrder != 0 ? d.nSymOp / r.stabilizerOrder : 0;
}

void WriteIndividualList(FILE* f, const MEMData3D& d) {
    const double N = d.nVoxelCell;
    fprintf(f, " ************************* List of structure factors ************************ \n");
    fprintf(f, "%3s %3s %3s %11s %11s %11s %11s %10s %10s %3s %10s %14s %14s\n", "h", "k", "l", "Fobs(R)",
            "Fobs(I)", "FMEM(R)", "FMEM(I)", "D/S(F)", "sigma(F)", "M", "Weight", "dS/dF(R)", "dS/dF(I)");
    for (int i = 0; i < d.nRefF; ++i) {
        const StructureFactor& r = *d.reflections[d.nRefUnobs + i];
        const int* h = r.hkl.item(0);
        double w = d.weightF[i];
        double fobs = std::sqrt(d.FobsRe[i] * d.FobsRe[i] + d.FobsIm[i] * d.FobsIm[i]);
        double fcalc = std::sqrt(r.A * r.A + r.B * r.B);
        fprintf(f, "%3d %3d %3d %11.5g %11.5g %11.5g %11.5g %10.5f %10.5g %3i %10.5f %14.5E %14.5E\n", h[0],
                h[1], h[2], d.FobsRe[i], d.FobsIm[i], r.A, r.B, std::sqrt(w) * (fobs - fcalc),
                std::sqrt(1.0 / w), Multiplicity(d, r), d.refWeight[i], d.dSdFRe[i] / N, d.dSdFIm[i] / N);
    }
}

void WriteGroupList(FILE* f, const MEMData3D& d) {
    const double N = d.nVoxelCell;
    fprintf(f, "\n%3s %3s %3s %11s %11s %11s %11s %10s %10s %3s %10s %14s %14s\n", "h", "k", "l", "Gobs",
            "GMEM", "FMEM(R)", "FMEM(I)", "D/S(F)", "sigma(G)", "M", "Weight", "dS/dF(R)", "dS/dF(I)");
    int j = d.nRefF;
    for (int g = 0; g < d.nGroups && g < static_cast<int>(d.groupSize.size()); ++g) {
        double w = d.weightG[g];
        // Sizes from a hand-edited file may not add up; only list positions are printed.
        int end = std::min(j + d.groupSize[g], d.nRefF + d.nRefG);
        for (int m = std::max(j, 0); m < end; ++m) {
            const StructureFactor& r = *d.reflections[d.nRefUnobs + m];
            const int* h = r.hkl.item(0);
            if (m == j)
                fprintf(f, "%3d %3d %3d %11.5g %11.5g %11.5g %11.5g %10.5g %10.5g %3i %10.5f %14.5E %14.5E\n",
                        h[0], h[1], h[2], d.Gobs[g], d.Gcalc[g], r.A, r.B,
                        (d.Gobs[g] - d.Gcalc[g]) * std::sqrt(w), std::sqrt(1.0 / w), Multiplicity(d, r),
                        d.refWeight[m], d.dSdFRe[m] / N, d.dSdFIm[m] / N);
            else
                fprintf(f, "%3d %3d %3d %11s %11s %11.5g %11.5g %10s %10s %3i %10.5f %14.5E %14.5E\n", h[0],
                        h[1], h[2], "", "", r.A, r.B, "", "", Multiplicity(d, r), d.refWeight[m],
                        d.dSdFRe[m] / N, d.dSdFIm[m] / N);
        }
        j += d.groupSize[g];
    }
}

void WriteCalculatedList(FILE* f, const MEMData3D& d) {
    fprintf(f, "\n");
    fprintf(f, "Unobserved or partially observed reflections.\n");
    fprintf(f, "%3s %3s %3s %11s %11s %11s %11s %10s %10s\n", "h", "k", "l", "Fobs(R)", "Fobs(I)", "FMEM(R)",
            "FMEM(I)", "D/S(F)", "sigma(F)");
    int first = d.nRefUnobs + d.nRefF + d.nRefG;
    size_t measured = std::min({d.refFobsRe.size(), d.refFobsIm.size(), d.refFobsSigma.size()});
    for (int i = first; i < first + d.nRefE; ++i) {
        const StructureFactor& r = *d.reflections[i];
        const int* h = r.hkl.item(0);
        size_t k = static_cast<size_t>(i - first);
        if (k < measured)
            fprintf(f, "%3d %3d %3d %11.5g %11.5g %11.5g %11.5g %10s %10.5f\n", h[0], h[1], h[2],
                    d.refFobsRe[k], d.refFobsIm[k], r.A, r.B, "-", d.refFobsSigma[k]);
        else
            fprintf(f, "%3d %3d %3d %11.5s %11.5s %11.5g %11.5g %10s %10.5s\n", h[0], h[1], h[2], "-", "-",
                    r.A, r.B, "-", "-");
    }
    fprintf(f, "\n");
}

}  // namespace

int WriteOut(MEMData3D& d) {
    AtomicFile file(d.param.outFile, "w");
    bool written = false;
    if (file.isOpen()) {
        FILE* f = file.stream();
        WriteHeading(f, d);
        WriteGridWarning(f, d);
        WriteSettings(f, d);
        WriteResults(f, d);
        WriteIndividualList(f, d);
        WriteGroupList(f, d);
        WriteCalculatedList(f, d);
        written = file.Commit();
    }
    if (!written) {
        IO::PrintError("Failed to write %s\n", d.param.outFile.c_str());
        return 1;
    }
    return WriteEpsHistogram(d.param.epsFile, d.epsHistogram);
}
