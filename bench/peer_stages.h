#pragma once

#include <vector>

#include <opencv2/core.hpp>

#include "bench/stages.h"

namespace vyn::bench {

/// The same stages with OpenCV, as one would write them today: float matrices, 8-bit masks of valid
/// pixels (255), loops over rows in the library's threads for what is done pixel by pixel, cubic
/// remap without prefilter.
class PeerStages {
  public:
    /// `inputs` must outlive it: the matrices share its planes where they can.
    explicit PeerStages(Inputs& inputs);

    /// One run of the stage of that name; the values it made (empty for stages without a peer).
    cv::Mat run(const std::string& stage);

  private:
    struct Picture {
        cv::Mat values;
        cv::Mat valid;
    };
    struct Maps {
        cv::Mat x;
        cv::Mat y;
    };

    Picture empty_picture() const;
    Picture corrected(const cv::Mat& raw) const;
    Maps distortion_maps() const;
    Maps alignment_maps() const;
    Picture remapped(const Picture& source, const Maps& maps) const;
    Picture undistorted(const Picture& source) const;
    Picture aligned(const Picture& source) const;
    Picture field_of(const Picture& off, const Picture& on) const;
    Picture field_of_point() const;
    template <class Blur>
    cv::Mat masked_mean(Blur blur) const;
    cv::Mat filtered(const std::string& stage) const;

    const Scene& scene_;
    cv::Mat off_;
    cv::Mat on_;
    cv::Mat dark_;
    cv::Mat flat_;
    Picture corrected_off_;
    Picture undistorted_off_;
    Picture undistorted_on_;
    Picture aligned_on_;
    Picture filter_source_;
    Maps given_maps_;
};

}  // namespace vyn::bench
