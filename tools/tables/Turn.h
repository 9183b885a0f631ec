// Sine and cosine that have the same bits on every machine, which those of C libraries have not:
// only the operations that IEEE 754 rounds exactly. The tables depend on nothing else.
#pragma once

struct TurnPoint {
    double cosine;
    double sine;
};

// At a fraction of a whole turn, 0 to 1; within 1e-15.
TurnPoint PointAtTurn(double turn);

// 0 at both ends, 1 in the middle of `length`; 0 outside. The P and T waves are such.
double RaisedCosine(double position, double length);
