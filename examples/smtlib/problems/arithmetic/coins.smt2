; Can 43 not be paid with coins of 6, 9 and 20? Proved when there is no way to pay it.
(set-logic QF_LIA)
(declare-const six Int)
(declare-const nine Int)
(declare-const twenty Int)
(assert (and (>= six 0) (>= nine 0) (>= twenty 0)))
(assert (= 43 (+ (* 6 six) (* 9 nine) (* 20 twenty))))
(check-sat)
