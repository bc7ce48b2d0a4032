// Interleaved batches: matrices of one size, packed and unpacked by the core in either layout.
#pragma once

#include "core.hpp"

namespace qnm::test {

constexpr core_int row_major = 101, column_major = 102, left = 141, upper = 121, unit = 132;

template <class T>
using Matrices = std::vector<Matrix<T>>;

template <class T>
struct Interleaved {
    core_int layout, format, ld, lines;
    std::vector<real_t<T>> packs;

    // A column is dense, others have room to spare.
    Interleaved(core_int order, core_int bytes, const Matrices<T>& matrices)
        : layout(order),
          format(bytes),
          ld((layout == row_major ? matrices[0].columns : matrices[0].rows) +
             (matrices[0].columns > 1 ? 2 : 0)),
          lines(layout == row_major ? matrices[0].rows : matrices[0].columns)
    {
        const auto nm = static_cast<core_int>(matrices.size()), size = core_int{sizeof(real_t<T>)};
        const core_int lanes = format / size, parts = is_complex<T> ? 2 : 1;
        packs.assign(static_cast<std::size_t>((nm + lanes - 1) / lanes * lanes * parts * ld * lines), -99);
        move("gepack", laid_out(matrices));
    }
    // What lies between is as it is in `matrices`.
    Matrices<T> unpacked(Matrices<T> matrices) const
    {
        Matrices<T> laid = laid_out(matrices);
        move("geunpack", laid);
        if (layout == column_major)
            return laid;
        for (std::size_t k = 0; k < laid.size(); ++k)
            matrices[k].take('T', laid[k]);
        return matrices;
    }

private:
    // As the core reads them.
    Matrices<T> laid_out(const Matrices<T>& matrices) const
    {
        if (layout == column_major)
            return matrices;
        Matrices<T> laid;
        for (const Matrix<T>& a : matrices)
            laid.push_back(Matrix<T>(a.columns, a.rows).take('T', a));
        return laid;
    }
    void move(const std::string& routine, const Matrices<T>& laid) const
    {
        std::vector<const T*> places;
        for (const Matrix<T>& a : laid)
            places.push_back(a.data.data());
        const core_int length = laid[0].rows;
        by_value<void>("qnm_blas_" + letter<T>() + routine + "_compact", layout,
                       layout == row_major ? lines : length, layout == row_major ? length : lines, places,
                       laid[0].ld, *this, format, static_cast<core_int>(laid.size()));
    }
};

template <class T>
std::tuple<const real_t<T>*, const core_int&> spread(const Interleaved<T>& x)
{
    return {x.packs.data(), x.ld};
}

} // namespace qnm::test
