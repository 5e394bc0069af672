# Writes goldenstats.txt (or the file named by the first argument): the convergence numbers of
# every case of drawcases.txt as the reference package computes them. Run from this folder:
#   Rscript goldenstats.R
suppressMessages(library(posterior))

draws_of <- function(chains, iterations, kind, a, b, seed, change) {
  state <- seed
  u <- function() { state <<- (state * 48271) %% 2147483647; state / 2147483647 }
  x <- numeric(chains * iterations)
  k <- 0
  for (c in seq_len(chains) - 1) {
    prev <- c * b
    for (i in seq_len(iterations)) {
      v <- switch(kind,
        ar = { prev <- a * prev + (u() - 0.5); prev },
        ratio = { u1 <- u(); (u1 - 0.5) / u() },
        discrete = floor(u() * a),
        constant = a)
      k <- k + 1
      x[k] <- v
    }
  }
  if (change == "nan") x[7] <- NaN
  if (change == "inf") x[7] <- Inf
  if (change == "ninf") x[7] <- -Inf
  if (change == "stillchain") x[1:iterations] <- 0
  matrix(x, nrow = iterations, ncol = chains)
}

fmt <- function(v) ifelse(is.na(v), "NA", formatC(v, digits = 17, format = "g"))

cases <- read.table("drawcases.txt", comment.char = "#", stringsAsFactors = FALSE,
  col.names = c("name", "chains", "iterations", "kind", "a", "b", "seed", "change"))
out <- c("# Written by goldenstats.R from drawcases.txt with the R package posterior 1.4.0.",
  "# name rhat ess_bulk ess_tail median sd q2.5 q97.5 mcse_mean")
for (r in seq_len(nrow(cases))) {
  p <- cases[r, ]
  x <- draws_of(p$chains, p$iterations, p$kind, p$a, p$b, p$seed, p$change)
  v <- suppressWarnings(c(rhat(x), ess_bulk(x), ess_tail(x), median(x), sd(x),
    quantile2(x, c(0.025, 0.975), names = FALSE), mcse_mean(x)))
  out <- c(out, paste(p$name, paste(fmt(v), collapse = " ")))
}
args <- commandArgs(trailingOnly = TRUE)
writeLines(out, if (length(args) > 0) args[1] else "goldenstats.txt")
