#pragma once

#include <string>
#include <vector>

// One Markov chain as the engine drives it, whatever the model: run on to an iteration, hand
// over the draws, and keep imputed data sets at chosen iterations.
class Chain
{
public:
    virtual ~Chain() = default;

    // Runs on until `iteration` iterations are done. False on a numerical breakdown; error() says
    // why. Safe to call from a worker thread: a chain touches only its own state.
    virtual bool runTo(long iteration) = 0;
    virtual long done() const = 0;
    virtual const std::string &error() const = 0;
    // done() x (number of parameters) values in the user's units, iteration after iteration.
    virtual const std::vector<double> &draws() const = 0;
    // Iterations (1-based, ascending) after which the imputed values are kept.
    virtual void keepImputationsAt(std::vector<long> iterations) = 0;
    // One entry per kept iteration: the imputed value of every missing cell.
    virtual const std::vector<std::vector<double>> &imputations() const = 0;
};
