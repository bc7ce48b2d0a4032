# Heat spreads in a rod whose ends let none out: an ordinary program for R's package fftw (r-cran-fftw). What is solved,
# and how the solution is known, heat.c tells, which prints the same digits.
#
#     qnm-run Rscript heat.R
library(fftw)

n <- 64
hot <- 0.3
begin <- 0.002
x <- (0:n) / n

exact <- function(t) {
    images <- outer(c(hot, -hot), 2 * (-5:5), `+`)
    rowSums(exp(-outer(x, as.vector(images), `-`)^2 / (4 * t))) / sqrt(4 * pi * t)
}

# With its mirror image the rod is a ring, whose waves are what the equation leaves in shape: each of them just fades.
k <- c(0:n, (n - 1):1)
u <- exact(begin)
waves <- FFT(c(u, u[n:2]))
worst <- 0
cat("    time     at 0         at 1/4       at 1/2       at 3/4       at 1\n")
for (t in c(0.01, 0.02, 0.05, 0.2)) {
    u <- Re(IFFT(waves * exp(-(pi * k)^2 * (t - begin))))[1:(n + 1)]
    cat(sprintf("%8.3f", t), sprintf("%13.9f", u[1 + n / 4 * 0:4]), "\n", sep = "")
    worst <- max(worst, abs(u - exact(t)))
}
cat("The exact solution is nowhere further away than 1e-12:", if (worst < 1e-12) "yes\n" else "no\n")
quit(status = if (worst < 1e-12) 0 else 1)
