; Is there no real number whose square is 2? There is one, so this is disproved.
(set-logic QF_NRA)
(declare-const x Real)
(assert (= 2.0 (* x x)))
(assert (> x 0.0))
(check-sat)
