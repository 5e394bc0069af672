# Reference estimates for the two-level sampler from lme4's REML fits. Run from this folder:
#   Rscript make_reference.R
# It reads the committed data sets (written once by the engine's SIMULATE command; complete, no
# missing values) and writes lme4.txt, one row per parameter in the table format the engine's
# tests read: a row name, the parameter's type and argument codes as the engine saves them, and
# the REML estimate. Needs the Debian package r-cran-lme4.
suppressMessages(library(lme4))

rows <- character()
add <- function(name, type, argument, value) {
  rows <<- c(rows, sprintf('%s "%s" "%s" %.6f', name, type, argument, value))
}
fit <- function(prefix, file, columns, formula, slopes) {
  data <- read.table(file, col.names = columns)
  model <- lmer(formula, data = data, REML = TRUE)
  fixed <- fixef(model)
  for (term in names(fixed)) {
    argument <- if (term == "(Intercept)") "Intercept" else term
    add(paste0(prefix, "_", gsub("[()]", "", term)), "Beta", argument, fixed[[term]])
  }
  level2 <- as.matrix(VarCorr(model)$school)
  effects <- c("(i)", slopes)
  for (a in seq_along(effects)) for (b in seq_len(a)) {
    argument <- if (a == 1) "L2 Intercept (i)" else if (a == b) paste("L2", effects[a])
                else paste0("L2 ", effects[b], ", ", effects[a])
    add(sprintf("%s_level2_%d%d", prefix, a, b), "Variance", argument, level2[a, b])
  }
  add(paste0(prefix, "_residual"), "Level-1", "Residual Var.", sigma(model)^2)
}

fit("intercept", "intercept.dat", c("math", "ses", "climate", "school"),
    math ~ ses + climate + (1 | school), character())
fit("slope", "slope.dat", c("math", "ses", "homework", "climate", "school"),
    math ~ ses + homework + climate + (1 + ses | school), "ses")

writeLines(c(paste("# lme4", packageVersion("lme4"), "REML estimates; written by make_reference.R"),
             rows), "lme4.txt")
