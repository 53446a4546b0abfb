// The feedback file <base>.fba: calculated structure factors for use by other programs.
#pragma once

class MEMData3D;

// Writes "$FB-MEM-DATA", the count and one line "h k l A B" per reflection to
// param.feedbackFile, replacing it whole. The generated unobserved reflections
// at the head of the list never appear; feedbackOutput 0 lists the individual
// F reflections, any other value also the grouped and the calculated-only
// ones. A and B are the values of the report. Returns 1, with a message, when
// the file could not be written, else 0.
int WriteFba(const MEMData3D& d);
