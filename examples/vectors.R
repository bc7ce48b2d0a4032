# Vector functions from R, by .Fortran: names in lower case, without their last underscore, which R adds. Nothing is built.
#
#     Rscript vectors.R FOLDER      FOLDER has the libraries
folder <- commandArgs(trailingOnly = TRUE)[1]
dyn.load(file.path(folder, "libqnm.so.2"))

# Of one, two inputs.
vector <- function(name, ...) .Fortran(name, length(..1), ..., y = numeric(length(..1)))$y
set_mode <- function(mode) .C("vmlsetmode_", as.integer(mode))

x <- seq(0.001, 20, length.out = 10000)
rows <- list(
    list("vdexp", exp), list("vdln", log), list("vdsqrt", sqrt), list("vdsin", sin), list("vdtanh", tanh),
    list("vdcdfnorm", pnorm), list("vdi0", function(x) besselI(x, 0)), list("vdj0", function(x) besselJ(x, 0)))
good <- 0
for (mode in c(2, 1)) { # high accuracy, low accuracy
    set_mode(mode)
    for (row in rows) {
        theirs <- row[[2]](x)
        # Where J0 crosses zero its own value is no measure.
        difference <- max(abs(vector(row[[1]], x) - theirs) / pmax(abs(theirs), if (row[[1]] == "vdj0") 1 else 0))
        cat(sprintf("%-10s mode %d  relative difference %.1e\n", row[[1]], mode, difference))
        good <- good + (difference < 1e-14)
    }
}
power <- vector("vdpow", x, rev(x) / 4)
good <- good + (max(abs(power / x^(rev(x) / 4) - 1)) < 1e-14)

# The mode of one call: errors are told nowhere, and what is not defined is NaN.
nothing <- .Fortran("vmdln", 2L, c(-1, 1), y = numeric(2), 0x102L)$y # errors ignored
good <- good + (is.nan(nothing[1]) && nothing[2] == 0)
cat(good, "of", 2 * length(rows) + 2, "as told\n")
quit(status = as.integer(good != 2 * length(rows) + 2))
