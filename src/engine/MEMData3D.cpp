#include "engine/MEMData3D.h"

MEMData3D::MEMData3D() { unitCell.Initialize(); }

// The plans exist only on the FFT path; FFTW's thread state was set up with them.
MEMData3D::~MEMData3D() {
    if (useFFT) {
        transform.reset();
        fftw_cleanup_threads();
    }
}
