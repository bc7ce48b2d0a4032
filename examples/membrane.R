# A loaded membrane, fixed at two ends and free at two: what is solved, and how its error is known, membrane.c tells, which
# prints the same digits. R opens the libraries itself; all that it takes is .C, with letters and handles as raw bytes.
#
#     Rscript membrane.R FOLDER      FOLDER has the libraries
folder <- commandArgs(trailingOnly = TRUE)[1]
dyn.load(file.path(folder, "libqnm.so.2"))

called <- function(...) {
    result <- .C(...)
    if (result$stat != 0) stop("status ", result$stat)
    result
}

solve_mesh <- function(n, u, left, right, lower, upper) {
    made <- called("d_init_helmholtz_2d", 0, 2, 0, 1, as.integer(n), as.integer(n), charToRaw("DNND"), 0,
                   ipar = integer(128), par = numeric(128), stat = integer(1))
    made <- called("d_commit_helmholtz_2d", u, left, right, lower, upper, handle = raw(8),
                   ipar = made$ipar, par = made$par, stat = integer(1))
    done <- called("d_helmholtz_2d", u = u, left, right, lower, upper, handle = made$handle,
                   ipar = made$ipar, par = made$par, stat = integer(1))
    called("free_helmholtz_2d", handle = done$handle, ipar = done$ipar, stat = integer(1))
    done$u
}

height <- function(x, y) (1 - (1 - x / 2)^4) * (1 - y^4) + x * y / 4
load <- function(x, y) 3 * (1 - x / 2)^2 * (1 - y^4) + 12 * y^2 * (1 - (1 - x / 2)^4)

cat("   n        error   falls by\n")
before <- NULL
for (n in 8 * 2^(0:5)) {
    x <- 2 * (0:n) / n
    y <- x / 2
    u <- solve_mesh(n, outer(x, y, load), 0 * y, y / 4, -x / 4, x / 4)
    error <- max(abs(u - outer(x, y, height)))
    cat(sprintf("%4d%13.4e", n, error), if (!is.null(before)) sprintf("%11.3f", before / error), "\n", sep = "")
    before <- error
}
