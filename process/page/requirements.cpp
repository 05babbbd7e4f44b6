#include "process/page/requirements.h"

#include <vector>

#include "process/page/page_rows.h"

namespace vyn {

namespace names = image_names;

namespace {

std::string joined(const std::vector<std::string>& labels) {
    std::string text;
    for (std::size_t i = 0; i < labels.size(); ++i)
        text += (i == 0 ? "" : i + 1 == labels.size() ? " and " : ", ") + labels[i];
    return text;
}

class Needs {
  public:
    Needs(dataSetInterface& data, const imagesList& images)
        : images_(images), type_(experiment_type(data)) {}

    std::string of(PageStep step) const {
        if (type_ == ExperimentType::s3f && step != PageStep::save_field) return not_evaluated_text;
        switch (step) {
            case PageStep::correct_wind_off:
                return pictures(wind_off());
            case PageStep::correct_wind_on:
                return pictures(wind_on());
            case PageStep::ratio:
                return ratio();
            case PageStep::field:
            case PageStep::in_situ:
                return result(names::ratio);
            case PageStep::all:
                return pictures(all_pictures());
            case PageStep::save_field:
                return images_.find(names::field) ? "" : "Field is not calculated!";
            case PageStep::check:
                return result(names::field);
            case PageStep::count:
                break;
        }
        return {};
    }

  private:
    using Pictures = std::vector<const RawImage*>;

    bool two_channels() const { return type_ != ExperimentType::single; }

    Pictures wind_off() const {
        Pictures wanted{&raw_images()[0]};
        if (two_channels()) wanted.push_back(&raw_images()[2]);
        return wanted;
    }
    Pictures wind_on() const {
        Pictures wanted{&raw_images()[1]};
        if (two_channels()) wanted.push_back(&raw_images()[3]);
        return wanted;
    }

    /// A lifetime point may do without wind-off pictures, but not with one of the two.
    Pictures all_pictures() const {
        Pictures wanted = required_images(type_);
        if (type_ != ExperimentType::lifetime) return wanted;
        const Pictures off = wind_off();
        if (images_.find(off[0]->name) || images_.find(off[1]->name))
            wanted.insert(wanted.end(), off.begin(), off.end());
        return wanted;
    }

    std::string pictures(const Pictures& wanted) const {
        std::vector<std::string> missing;
        for (const RawImage* raw : wanted)
            if (!images_.find(raw->name)) missing.push_back(image_label(type_, raw->name));
        if (missing.empty()) return {};
        return "Select the " + joined(missing) + (missing.size() == 1 ? " image" : " images") +
               " first.";
    }

    std::string result(const char* name) const {
        if (images_.find(name)) return {};
        return "Calculate " + image_label(type_, name) + " first.";
    }

    std::string ratio() const {
        if (two_channels()) return pictures(all_pictures());
        for (const char* name : {names::wind_off_sens_cor, names::wind_on_sens_cor})
            if (std::string missing = result(name); !missing.empty()) return missing;
        return {};
    }

    const imagesList& images_;
    ExperimentType type_;
};

}  // namespace

std::string missing_for(PageStep step, dataSetInterface& data, const imagesList& images) {
    return Needs(data, images).of(step);
}

StepNeeds step_needs(dataSetInterface& data, const imagesList& images) {
    const Needs needs(data, images);
    StepNeeds answers;
    for (std::size_t i = 0; i < answers.size(); ++i)
        answers[i] = needs.of(static_cast<PageStep>(i));
    return answers;
}

}  // namespace vyn
