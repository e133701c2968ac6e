; Does the average of two whole numbers, rounded down, lie between them? Proved when there is no
; pair for which it does not.
(set-logic QF_LIA)
(declare-const a Int)
(declare-const b Int)
(define-fun average () Int (div (+ a b) 2))
(assert (<= a b))
(assert (not (and (<= a average) (<= average b))))
(check-sat)
